#ifndef DP_TESTS_SUPPORT_CHILD_PROCESS_HPP
#define DP_TESTS_SUPPORT_CHILD_PROCESS_HPP

#include <sys/types.h>

#include <functional>

namespace test {

/// A forked process and a line of bytes to it, for what only shows between processes.
class child_process {
  public:
    /// The child's end of the line.
    class parent_line {
      public:
        parent_line(int in, int out) : in_(in), out_(out) {}
        /// Sends one byte to the parent.
        void tell(char what) const;
        /// Waits for the parent's next byte; '\0' when the parent is gone.
        [[nodiscard]] char hear() const;

      private:
        int in_;
        int out_;
    };

    /// Forks a child that runs `body` and exits with what it returns; exceptions exit with 99. The
    /// child shares no lock with its parent and must not use the test framework's assertions.
    explicit child_process(const std::function<int(const parent_line&)>& body);
    /// Kills a child that still runs.
    ~child_process();
    child_process(const child_process&) = delete;
    child_process& operator=(const child_process&) = delete;

    [[nodiscard]] pid_t pid() const { return pid_; }
    /// Sends one byte to the child.
    void tell(char what) const;
    /// The child's next byte, waiting at most `timeout_ms`; '\0' when none came or the child ended.
    [[nodiscard]] char hear(int timeout_ms = 20'000) const;
    /// Waits for the child's end. Its exit code, or 128 and the number of the signal that ended it.
    int wait();

  private:
    pid_t pid_ = -1;
    int in_ = -1;
    int out_ = -1;
};

/// For a child: gives up root's rights, with which every file can be opened. False when it can't;
/// without such rights it does nothing.
bool become_an_ordinary_user();

}  // namespace test

#endif
