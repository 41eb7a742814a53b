#include "common/descriptor_files.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

namespace dp {

int open_regular_file(const std::string& path, int flags) {
    const int descriptor = ::open(path.c_str(), flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC,
                                  S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH);
    struct stat info {};
    if (descriptor >= 0 && (::fstat(descriptor, &info) != 0 || !S_ISREG(info.st_mode))) {
        ::close(descriptor);
        return -1;
    }
    return descriptor;
}

void write_all(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(descriptor, text.data(), text.size());
        if (count > 0) {
            text.remove_prefix(static_cast<std::size_t>(count));
        } else if (count == 0 || errno != EINTR) {
            break;
        }
    }
}

}  // namespace dp
