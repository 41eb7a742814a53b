#include "support/standard_descriptors.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace standard_descriptors {

bool occupy() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) != -1 || errno != EBADF) {
            continue;
        }
        // The lowest free number is this one. Programs that this process starts inherit it.
        if (open("/", O_PATH | O_DIRECTORY) != descriptor) {
            return false;
        }
    }
    return true;
}

}  // namespace standard_descriptors
