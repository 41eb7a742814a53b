#ifndef DP_TESTS_SUPPORT_DAEMON_PROCESS_HPP
#define DP_TESTS_SUPPORT_DAEMON_PROCESS_HPP

#include <sys/types.h>

#include <csignal>
#include <optional>
#include <string>
#include <vector>

namespace test {

/// A daemon of this build as a child process, with an empty standard input. Its standard error goes
/// to $DP_ROOT/NAME.log. Waiting for it ends after `patience`.
class daemon_process {
  public:
    daemon_process(const daemon_process&) = delete;
    daemon_process& operator=(const daemon_process&) = delete;

    /// Options of its command line, for the next start.
    std::vector<std::string> options;

    /// Starts the daemon and waits until it is ready. False when it ended instead; `wait` returns
    /// its exit code, and its log has the reason.
    bool start();
    /// Starts it without waiting.
    void launch();
    /// Starts it with closed standard input, output and error; it cannot report that it is ready.
    void launch_without_streams();
    /// Waits for its ready line; false when it ended without one.
    bool wait_until_ready();

    void send(int signal) const;
    /// Waits until it ends. Returns its exit code, or 128 plus the number of the signal that ended
    /// it; -1 when it had to be killed.
    int wait();
    /// `send` and `wait`.
    int stop(int signal = SIGTERM);

    [[nodiscard]] bool is_running() const { return pid_ > 0; }
    [[nodiscard]] pid_t pid() const { return pid_; }

  protected:
    /// `fixed_options` come before `options`. The ready line begins with "PROGRAM: ready".
    daemon_process(std::string program, std::string name,
                   std::vector<std::string> fixed_options = {});
    /// Kills the process if it is still running.
    ~daemon_process();

    /// The standard error of the daemon of this name since its last start.
    [[nodiscard]] static std::string log_of(const std::string& name);
    /// What follows "PROGRAM: ready " in its ready line.
    [[nodiscard]] const std::string& ready_text() const { return ready_text_; }

  private:
    void launch(bool with_streams);
    [[nodiscard]] std::optional<std::string> next_line() const;

    std::string program_;
    std::string name_;
    std::vector<std::string> fixed_options_;
    std::string ready_text_;
    pid_t pid_ = 0;
    int out_ = -1;
};

}  // namespace test

#endif
