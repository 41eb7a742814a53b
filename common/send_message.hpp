#ifndef DP_COMMON_SEND_MESSAGE_HPP
#define DP_COMMON_SEND_MESSAGE_HPP

#include <cstddef>

#include "platform/sysipc/message.hpp"
#include "platform/sysipc/system_message_queue.hpp"
#include "platform/sysipc/system_message_queue_client.hpp"

namespace dp {

/// Bytes of the buffer in which the library builds a message.
inline constexpr std::size_t message_buffer_size = 8096;

/// Sends `content` on message queue `number`, without waiting. False when nobody receives from the
/// queue or it is full.
inline bool send_message(unsigned char number, const sysipc::message& content) {
    const sysipc::system_message_queue queue(number, 0);
    return sysipc::system_message_queue_client::send(queue, content);
}

}  // namespace dp

#endif
