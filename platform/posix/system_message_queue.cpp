#include "platform/sysipc/system_message_queue.hpp"

#include <fcntl.h>
#include <mqueue.h>

#include <cerrno>
#include <string>

#include "platform/posix/queue_name.hpp"
#include "platform/sysipc/message.hpp"
#include "platform/sysipc/system_message_queue_client.hpp"

namespace sysipc {
namespace {

/// Whether a listener has its lock on the queue.
bool has_listener(int handle) {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return ::fcntl(handle, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

}  // namespace

system_message_queue::system_message_queue(unsigned char number, unsigned flags) {
    const std::string name = dp_platform::queue_name(number);
    if (flags == 0 && !name.empty()) {
        handle_ = ::mq_open(name.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    }
    // A listener that was killed did not remove its queue.
    if (handle_ >= 0 && !has_listener(handle_)) {
        ::mq_close(handle_);
        handle_ = -1;
    }
}

system_message_queue::~system_message_queue() {
    if (handle_ >= 0) {
        ::mq_close(handle_);
    }
}

bool system_message_queue::is_open() const {
    return handle_ >= 0;
}

int system_message_queue::handle() const {
    return handle_;
}

bool system_message_queue_client::send(const system_message_queue& queue, const message& content) {
    if (!queue.is_open() || !has_listener(queue.handle())) {
        return false;
    }
    int result = -1;
    do {
        result = ::mq_send(queue.handle(), reinterpret_cast<const char*>(content.data()),
                           content.size(), 0);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

}  // namespace sysipc
