#include "support/standard_descriptors.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace dp_support {

bool occupy_standard_descriptors() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) != -1 || errno != EBADF) {
            continue;
        }
        // open(2) returns the lowest free number, which is this one. Child processes inherit it.
        if (open("/", O_PATH | O_DIRECTORY) != descriptor) {
            return false;
        }
    }
    return true;
}

}  // namespace dp_support
