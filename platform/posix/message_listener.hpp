#ifndef DP_PLATFORM_POSIX_MESSAGE_LISTENER_HPP
#define DP_PLATFORM_POSIX_MESSAGE_LISTENER_HPP

#include <cstddef>
#include <string>
#include <vector>

#include "common/export.hpp"

namespace sysipc {
class message;
}

namespace dp_platform {

/// The receiving end of a system message queue on Linux.
///
/// Queue N is the POSIX message queue "/dp.queue.N"; with the environment variable DP_QUEUE_PREFIX
/// set to P (letters, digits, '_', '-', '.', at most 64) it is "/P.dp.queue.N", so that two groups
/// of processes do not meet. The listener makes the queue (mode 0600, 10 messages of 8192 bytes,
/// what an ordinary user may have) and removes it again; while it lives it holds a write lock on it
/// by which senders see that somebody receives. A queue whose listener died is taken over, emptied.
class DP_API message_listener {
  public:
    explicit message_listener(unsigned char number);
    ~message_listener();
    message_listener(const message_listener&) = delete;
    message_listener& operator=(const message_listener&) = delete;

    /// False when the queue could not be made or has another listener; `error` says why.
    [[nodiscard]] bool is_open() const { return handle_ >= 0; }
    [[nodiscard]] const std::string& error() const { return error_; }

    /// For poll and select: readable while a message waits. -1 when not open.
    [[nodiscard]] int handle() const { return handle_; }

    enum class result {
        received,   ///< `content` is the message
        timeout,    ///< none came in time; also when a signal cut the waiting short
        malformed,  ///< one came and was dropped: not a message, or too long for `content`
        failed,     ///< not open, or the system refused
    };

    /// Takes the oldest message, waiting up to `timeout_ms` milliseconds for one (0 does not wait,
    /// less waits without end).
    result receive(sysipc::message& content, int timeout_ms);

  private:
    bool open(const std::string& name);
    bool take(const std::string& name);

    int handle_ = -1;
    std::string name_;
    std::string error_;
    std::vector<unsigned char> buffer_;
};

}  // namespace dp_platform

#endif
