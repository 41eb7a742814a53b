#ifndef DP_PLATFORM_SYSIPC_SYSTEM_MESSAGE_QUEUE_HPP
#define DP_PLATFORM_SYSIPC_SYSTEM_MESSAGE_QUEUE_HPP

#include "common/export.hpp"

namespace sysipc {

/// The sending end of one of the controller's numbered message queues. A queue exists while a
/// process receives from it.
class DP_API system_message_queue {
  public:
    /// Opens queue `number`. `flags` must be 0.
    system_message_queue(unsigned char number, unsigned flags);
    ~system_message_queue();
    system_message_queue(const system_message_queue&) = delete;
    system_message_queue& operator=(const system_message_queue&) = delete;

    /// Whether there is a queue to send to.
    [[nodiscard]] bool is_open() const;

    /// The system's handle; -1 when not open.
    [[nodiscard]] int handle() const;

  private:
    int handle_ = -1;
};

}  // namespace sysipc

#endif
