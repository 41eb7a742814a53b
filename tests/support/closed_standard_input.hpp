#ifndef DP_TESTS_SUPPORT_CLOSED_STANDARD_INPUT_HPP
#define DP_TESTS_SUPPORT_CLOSED_STANDARD_INPUT_HPP

#include <fcntl.h>
#include <unistd.h>

namespace test {

/// Closes this process's standard input for its lifetime, so that the next file that is opened gets
/// descriptor 0.
class closed_standard_input {
  public:
    closed_standard_input() : saved_(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
        close(STDIN_FILENO);
    }
    ~closed_standard_input() {
        if (saved_ >= 0) {
            dup2(saved_, STDIN_FILENO);
            close(saved_);
        }
    }
    closed_standard_input(const closed_standard_input&) = delete;
    closed_standard_input& operator=(const closed_standard_input&) = delete;

    /// Whether no file that was opened since has kept descriptor 0.
    [[nodiscard]] static bool is_closed() { return fcntl(STDIN_FILENO, F_GETFD) == -1; }

  private:
    int saved_;
};

}  // namespace test

#endif
