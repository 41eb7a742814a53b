#include "service_api/service_lock.hpp"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

namespace service_lock {

int open_file(const std::string& path) {
    return open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC,
                S_IRUSR | S_IWUSR);
}

int take(int descriptor) {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    if (fcntl(descriptor, F_SETLK, &lock) == 0) {
        return 0;
    }
    // Systems differ in how they say that it is taken.
    return errno == EACCES ? EAGAIN : errno;
}

}  // namespace service_lock
