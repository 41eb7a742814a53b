#ifndef DP_HOST_PROCESS_RUN_PROGRAM_HPP
#define DP_HOST_PROCESS_RUN_PROGRAM_HPP

#include <string>
#include <vector>

#include "support/result.hpp"

namespace dp_host {

/// Runs the program `path` with `arguments`, without a shell, and waits for its end. Its standard
/// input is /dev/null and its standard output is standard error. Success is exit code 0. A program
/// that runs for more than 30 seconds is killed, and so is one that runs when a stop signal
/// arrives.
dp_support::result<> run_program(const std::string& path,
                                 const std::vector<std::string>& arguments);

}  // namespace dp_host

#endif
