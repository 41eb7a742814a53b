#ifndef DP_TESTS_SUPPORT_PROGRAM_HPP
#define DP_TESTS_SUPPORT_PROGRAM_HPP

#include <string>
#include <vector>

namespace test {

/// How a program ended.
struct program_result {
    int exit_code = -1;  ///< 128 and the signal's number when a signal ended it
    std::string out;
    std::string err;
};

/// Where a program of this build lies; a path, of a program of the system, stays as it is. Also
/// sets the environment of this process so that programs that it starts, directly or through a
/// shell, have their fixed paths below $DP_ROOT.
std::string program_path(const std::string& name);

/// Runs the program at `program_path(name)` and waits for its end, at most three minutes: then it
/// is killed. Its fixed paths lie below $DP_ROOT, its working folder is $DP_ROOT, its standard
/// input is empty.
program_result run_program(const std::string& name, const std::vector<std::string>& arguments);

/// The same by a user without rights on what this user has locked: the user "nobody" when the tests
/// run as root, otherwise just as it is. Needs what it works on to be open to that user.
program_result run_program_unprivileged(const std::string& name,
                                        const std::vector<std::string>& arguments);

}  // namespace test

#endif
