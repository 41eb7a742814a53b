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
/// Queue N is the POSIX message queue "/dp.queue.N". With the environment variable DP_QUEUE_PREFIX
/// set to P (at most 64 letters, digits, '_', '-' and '.') it is "/P.dp.queue.N", so that groups of
/// processes can use separate queues. The listener creates the queue with mode 0600 for 10 messages
/// of 8192 bytes, which an ordinary user may have, and removes it when it is destroyed. Its write
/// lock on the queue shows senders that a process receives. A queue whose listener died is emptied
/// and reused.
class DP_API message_listener {
  public:
    /// Creates system message queue `number` and listens.
    explicit message_listener(unsigned char number);
    ~message_listener();
    message_listener(const message_listener&) = delete;
    message_listener& operator=(const message_listener&) = delete;

    /// False when the queue could not be created or has another listener; `error` says why.
    [[nodiscard]] bool is_open() const { return handle_ >= 0; }
    /// Why the queue is not open; empty if it is.
    [[nodiscard]] const std::string& error() const { return error_; }

    /// Descriptor for poll and select, readable while a message waits. Not owned by the caller. -1
    /// when not open.
    [[nodiscard]] int handle() const { return handle_; }

    /// What became of a wait.
    enum class result {
        received,   ///< `content` is the message
        timeout,    ///< no message arrived in time, or a signal interrupted the wait
        malformed,  ///< dropped what arrived: not a message, or too long for `content`
        failed,     ///< the listener is not open, or a system error
    };

    /// Receives the oldest message. Waits for one up to `timeout_ms` milliseconds: 0 does not wait,
    /// a negative number waits without limit.
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
