#ifndef DP_HOST_PROCESS_RUN_PROGRAM_HPP
#define DP_HOST_PROCESS_RUN_PROGRAM_HPP

#include <string>
#include <vector>

namespace dp_host {

/// Runs a program with arguments, without a shell, and waits for it. Its standard input is empty
/// and its standard output goes to standard error. A program that takes longer than half a minute
/// is killed. Returns why it failed; empty when it ended with exit code 0.
std::string run_program(const std::string& path, const std::vector<std::string>& arguments);

}  // namespace dp_host

#endif
