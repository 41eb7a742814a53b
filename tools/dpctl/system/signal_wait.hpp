#ifndef DP_TOOLS_DPCTL_SYSTEM_SIGNAL_WAIT_HPP
#define DP_TOOLS_DPCTL_SYSTEM_SIGNAL_WAIT_HPP

#include <chrono>
#include <csignal>
#include <vector>

#include "support/file_descriptor.hpp"

namespace dpctl {

/// The time until `end` in milliseconds, rounded up; 0 when `end` has passed.
int milliseconds_until(std::chrono::steady_clock::time_point end);

/// Waits in a command that runs until it is stopped: by SIGINT, SIGTERM or SIGHUP, or because
/// nobody reads its output any longer. So the command can clean up before it ends. Blocks these
/// signals, and ignores SIGPIPE, for the lifetime of the object. One object at a time, in a process
/// with one thread.
class signal_wait {
  public:
    /// @param output  the descriptor whose reader is watched
    /// Throws std::system_error if the system does not allow it.
    explicit signal_wait(int output);
    ~signal_wait();
    signal_wait(const signal_wait&) = delete;
    signal_wait& operator=(const signal_wait&) = delete;

    enum class event {
        ready,    ///< one of the descriptors is readable
        timeout,  ///< the time is up
        stopped,  ///< the command must end now
    };

    /// Waits until one of `descriptors` is readable (-1 never is), at most `timeout_ms`
    /// milliseconds; without limit if negative.
    event wait(const std::vector<int>& descriptors, int timeout_ms);

    /// Readable after one of the signals. Not owned.
    [[nodiscard]] int descriptor() const { return signals_.get(); }

    /// Whether one of the signals has arrived.
    [[nodiscard]] bool is_stopped() const;

  private:
    int output_;
    sigset_t old_mask_{};
    struct sigaction old_pipe_action_ {};
    dp_support::file_descriptor signals_;
};

}  // namespace dpctl

#endif
