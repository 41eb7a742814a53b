#include "common/open_regular_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dp {

int open_regular_file(const std::string& path, int flags) {
    struct stat info {};
    // Already opening a device can have an effect: a watchdog, for example, begins to count.
    if (::stat(path.c_str(), &info) == 0 && !S_ISREG(info.st_mode)) {
        return -1;
    }
    const int descriptor = ::open(path.c_str(), flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC,
                                  S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH);
    if (descriptor >= 0 && (::fstat(descriptor, &info) != 0 || !S_ISREG(info.st_mode))) {
        ::close(descriptor);
        return -1;
    }
    return descriptor;
}

}  // namespace dp
