#ifndef DP_PLATFORM_SYSIPC_SYSTEM_MESSAGE_QUEUE_CLIENT_HPP
#define DP_PLATFORM_SYSIPC_SYSTEM_MESSAGE_QUEUE_CLIENT_HPP

#include "common/export.hpp"

namespace sysipc {

class message;
class system_message_queue;

/// Sends messages.
struct DP_API system_message_queue_client {
    /// Sends the message's header and payload without waiting. False when the queue is not open, is
    /// full, has no receiver any more, or does not take messages of that size.
    static bool send(const system_message_queue& queue, const message& content);
};

}  // namespace sysipc

#endif
