#ifndef DP_TESTS_SUPPORT_CHILD_PROCESS_HPP
#define DP_TESTS_SUPPORT_CHILD_PROCESS_HPP

#include <sys/types.h>

#include <functional>

namespace test {

/// A forked child process and a channel of single bytes to it, for tests of what happens between
/// processes.
class child_process {
  public:
    /// The child's end of the channel.
    class parent_channel {
      public:
        parent_channel(int in, int out) : in_(in), out_(out) {}
        /// Sends one byte to the parent.
        void send(char what) const;
        /// Waits for the parent's next byte; '\0' when the parent has ended.
        [[nodiscard]] char receive() const;

      private:
        int in_;
        int out_;
    };

    /// Forks a child that runs `body` and exits with its result, or with 99 after an exception. The
    /// child inherits no file locks and must not use the test framework's assertions.
    explicit child_process(const std::function<int(const parent_channel&)>& body);
    /// Kills the child if it is still running.
    ~child_process();
    child_process(const child_process&) = delete;
    child_process& operator=(const child_process&) = delete;

    [[nodiscard]] pid_t pid() const { return pid_; }
    /// Sends one byte to the child.
    void send(char what) const;
    /// Waits at most `timeout_ms` for the child's next byte; '\0' when there is none or the child
    /// has ended.
    [[nodiscard]] char receive(int timeout_ms = 20'000) const;
    /// Waits until the child ends. Returns its exit code, or 128 plus the number of the signal that
    /// ended it.
    int wait();

  private:
    pid_t pid_ = -1;
    int in_ = -1;
    int out_ = -1;
};

}  // namespace test

#endif
