#include "platform/posix/message_listener.hpp"

#include <fcntl.h>
#include <mqueue.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/posix/queue_name.hpp"
#include "platform/sysipc/message.hpp"

namespace dp_platform {
namespace {

constexpr long queue_messages = 10;
constexpr long queue_message_size = 8192;

std::string system_error(const std::string& what) {
    const int reason = errno;
    return what + ": " + std::strerror(reason);
}

}  // namespace

message_listener::message_listener(unsigned char number) : name_(queue_name(number)) {
    if (name_.empty()) {
        error_ = problem_with_queue_prefix();
        return;
    }
    // Try again when the previous listener removed the queue between opening and locking.
    for (int tries = 0; tries < 3 && !open(name_) && error_.empty(); ++tries) {
    }
    if (handle_ < 0 && error_.empty()) {
        error_ = "queue " + name_ + " keeps being removed";
    }
}

message_listener::~message_listener() {
    if (handle_ >= 0) {
        // In this order: a listener that opens the queue in between finds it locked until it is
        // removed.
        ::mq_unlink(name_.c_str());
        ::mq_close(handle_);
    }
}

/// Opens, locks and empties the queue. False with an empty `error_` means: try again.
bool message_listener::open(const std::string& name) {
    mq_attr attributes{};
    attributes.mq_maxmsg = queue_messages;
    attributes.mq_msgsize = queue_message_size;
    // Also for writing, which a write lock requires.
    handle_ = ::mq_open(name.c_str(), O_RDWR | O_CREAT | O_NONBLOCK | O_CLOEXEC, 0600, &attributes);
    if (handle_ < 0) {
        // EMFILE here means the limit on the user's queues, not on the process's files.
        error_ = errno == EMFILE ? "cannot create queue " + name +
                                       ": the limit on this user's queues is reached (ulimit -q)"
                                 : system_error("cannot create queue " + name);
        return false;
    }
    if (!take(name)) {
        ::mq_close(handle_);
        handle_ = -1;
        return false;
    }
    return true;
}

/// Locks the open queue, checks that it still exists and is ours, and empties it. Fails as `open`.
bool message_listener::take(const std::string& name) {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    if (::fcntl(handle_, F_OFD_SETLK, &lock) != 0) {
        error_ = errno == EAGAIN || errno == EACCES ? "queue " + name + " already has a listener"
                                                    : system_error("cannot lock queue " + name);
        return false;
    }
    struct stat status {};
    mq_attr attributes{};
    if (::fstat(handle_, &status) != 0 || ::mq_getattr(handle_, &attributes) != 0) {
        error_ = system_error("cannot examine queue " + name);
        return false;
    }
    if (status.st_nlink == 0) {
        return false;
    }
    if (status.st_uid != ::geteuid()) {
        error_ = "queue " + name + " belongs to another user";
        return false;
    }
    buffer_.resize(static_cast<std::size_t>(attributes.mq_msgsize));
    while (::mq_receive(handle_, reinterpret_cast<char*>(buffer_.data()), buffer_.size(),
                        nullptr) >= 0) {
    }
    return true;
}

message_listener::result message_listener::receive(sysipc::message& content, int timeout_ms) {
    if (handle_ < 0) {
        return result::failed;
    }
    pollfd waiting{handle_, POLLIN, 0};
    const int ready = ::poll(&waiting, 1, timeout_ms);
    if (ready <= 0) {
        return ready == 0 || errno == EINTR ? result::timeout : result::failed;
    }
    const ssize_t size =
        ::mq_receive(handle_, reinterpret_cast<char*>(buffer_.data()), buffer_.size(), nullptr);
    if (size < 0) {
        return errno == EAGAIN || errno == EINTR ? result::timeout : result::failed;
    }
    return content.assign(buffer_.data(), static_cast<std::size_t>(size)) ? result::received
                                                                          : result::malformed;
}

}  // namespace dp_platform
