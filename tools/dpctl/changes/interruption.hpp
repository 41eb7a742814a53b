#ifndef DP_TOOLS_DPCTL_CHANGES_INTERRUPTION_HPP
#define DP_TOOLS_DPCTL_CHANGES_INTERRUPTION_HPP

#include <chrono>
#include <csignal>
#include <vector>

#include "support/file_descriptor.hpp"

namespace dpctl {

/// The time until `end` in milliseconds, rounded up, for a wait that takes them; 0 when it is over.
int milliseconds_until(std::chrono::steady_clock::time_point end);

/// What ends a command that otherwise goes on for ever, so that it cleans up behind itself: SIGINT,
/// SIGTERM or SIGHUP, or that nobody reads its output any more. Catches the signals (and ignores
/// SIGPIPE) for its lifetime; one at a time, in a process with one thread.
class interruption {
  public:
    /// @param output  the descriptor whose reader is watched
    /// Throws std::system_error when the system does not allow it.
    explicit interruption(int output);
    ~interruption();
    interruption(const interruption&) = delete;
    interruption& operator=(const interruption&) = delete;

    enum class event {
        ready,        ///< one of the handles is readable
        timeout,      ///< the time is up
        interrupted,  ///< end now
    };

    /// Waits until one of `handles` is readable (those below 0 never are), at most `timeout_ms`
    /// milliseconds; less than 0 waits without end.
    event wait(const std::vector<int>& handles, int timeout_ms);

  private:
    int output_;
    sigset_t old_mask_{};
    struct sigaction old_pipe_action_ {};
    dp_support::file_descriptor signals_;
};

}  // namespace dpctl

#endif
