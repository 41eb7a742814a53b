#ifndef DP_TESTS_SUPPORT_PROCESS_HPP
#define DP_TESTS_SUPPORT_PROCESS_HPP

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

/// What every test helper that starts a process needs.
namespace test {

/// The arguments of a program, in the form that exec takes.
class argument_list {
  public:
    argument_list(const std::string& program, const std::vector<std::string>& arguments);
    argument_list(const argument_list&) = delete;
    argument_list& operator=(const argument_list&) = delete;

    /// Ends with a null pointer. Valid as long as this object.
    [[nodiscard]] char* const* data() const { return pointers_.data(); }

  private:
    std::vector<std::string> texts_;
    std::vector<char*> pointers_;
};

struct pipe_ends {
    int read_end = -1;
    int write_end = -1;
};

/// A pipe that is closed on exec. Throws std::runtime_error on failure.
pipe_ends make_pipe();

/// The exit code that a status of waitpid contains, or 128 plus the number of the signal that ended
/// the process.
int exit_code_of(int status);

/// Waits until the child process ends; returns its `exit_code_of`.
int wait_for_exit(pid_t child);

/// What a program wrote and how it ended.
struct program_result {
    int exit_code = -1;  ///< 128 plus the signal's number when a signal ended it
    std::string out;
    std::string err;
};

/// Runs the program at `path` with an empty standard input and waits until it ends; kills it after
/// three minutes. The child calls `prepare` before exec and exits with 127 when that is false.
program_result run_process(const std::string& path, const argument_list& arguments,
                           const std::function<bool()>& prepare);

/// For a child process: becomes the user "nobody" when it runs as root, who may open every file.
/// Does nothing for other users. Returns false when root cannot change its user.
bool drop_privileges();

/// For a child process of root: takes on the rights of a user in one group. False when it cannot.
bool become(unsigned user, unsigned group);

}  // namespace test

#endif
