#ifndef DP_TESTS_SUPPORT_PROGRAM_HPP
#define DP_TESTS_SUPPORT_PROGRAM_HPP

#include <string>
#include <vector>

#include "tests/support/process.hpp"

namespace test {

/// The path of a program of this build; an absolute path is returned unchanged. Also sets the
/// environment of this process so that programs that it starts, directly or through a shell, use
/// the relocatable library: their fixed paths are below $DP_ROOT.
std::string program_path(const std::string& name);

/// Runs the program at `program_path(name)` with $DP_ROOT as its working folder and an empty
/// standard input, and waits until it ends. A program that runs for three minutes is killed.
program_result run_program(const std::string& name, const std::vector<std::string>& arguments);

/// Runs the program as the user "nobody" if the tests run as root, and otherwise like
/// `run_program`. The files that it needs must be accessible to that user.
program_result run_program_unprivileged(const std::string& name,
                                        const std::vector<std::string>& arguments);

/// Runs the program as a user in one group. Only for tests that run as root.
program_result run_program_as(unsigned user, unsigned group, const std::string& name,
                              const std::vector<std::string>& arguments);

}  // namespace test

#endif
