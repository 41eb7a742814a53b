#ifndef DP_PLATFORM_SYSIPC_SYSTEM_MESSAGE_QUEUE_CLIENT_HPP
#define DP_PLATFORM_SYSIPC_SYSTEM_MESSAGE_QUEUE_CLIENT_HPP

#include "common/export.hpp"

namespace sysipc {

class message;
class system_message_queue;

struct DP_API system_message_queue_client {
    /// Puts the message's header and payload on the queue. Does not wait: false when the queue is
    /// not open, has no room, has no receiver any more, or takes no message of that size.
    static bool send(const system_message_queue& queue, const message& content);
};

}  // namespace sysipc

#endif
