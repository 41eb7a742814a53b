#include "service_api/service_lock.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace dp_service {
namespace {

struct flock whole_file() {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return lock;
}

}  // namespace

service_lock::~service_lock() {
    if (descriptor_ != -1) {
        close(descriptor_);
    }
}

int service_lock::acquire(const std::string& path) {
    if (descriptor_ == -1) {
        descriptor_ = open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC,
                           S_IRUSR | S_IWUSR);
    }
    if (descriptor_ == -1) {
        return errno;
    }
    const struct flock lock = whole_file();
    if (fcntl(descriptor_, F_SETLK, &lock) == 0) {
        return 0;
    }
    // POSIX permits either error for a lock that another process has.
    return errno == EACCES ? EAGAIN : errno;
}

pid_t service_lock::holder() const {
    struct flock lock = whole_file();
    const bool is_locked = fcntl(descriptor_, F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
    return is_locked && lock.l_pid > 0 ? lock.l_pid : 0;
}

}  // namespace dp_service
