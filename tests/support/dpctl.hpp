#ifndef DP_TESTS_SUPPORT_DPCTL_HPP
#define DP_TESTS_SUPPORT_DPCTL_HPP

#include <string>
#include <vector>

#include "tests/support/program.hpp"

namespace test {

/// Runs dpctl and waits until it ends.
inline program_result dpctl(const std::vector<std::string>& arguments) {
    return run_program("dpctl", arguments);
}

}  // namespace test

#endif
