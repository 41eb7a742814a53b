#ifndef DP_TESTS_SUPPORT_ROUNDS_HPP
#define DP_TESTS_SUPPORT_ROUNDS_HPP

#include <cstdlib>

namespace test {

/// The number of generated cases that a test tries out of `count`: a tenth, at least 1, if the
/// environment contains DP_TEST_FEWER_ROUNDS, else all. An emulator and the sanitizers take about
/// ten times as long for each case; the cases themselves are the same everywhere.
inline int rounds(int count) {
    const bool fewer = std::getenv("DP_TEST_FEWER_ROUNDS") != nullptr;
    return fewer && count > 10 ? count / 10 : count;
}

}  // namespace test

#endif
