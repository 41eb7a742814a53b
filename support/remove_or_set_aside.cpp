#include "support/remove_or_set_aside.hpp"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>

namespace dp_support {

bool remove_or_set_aside(const std::string& path) {
    // remove() also removes symlinks and empty folders.
    if (std::remove(path.c_str()) == 0 || errno == ENOENT) {
        return true;
    }
    if (errno != ENOTEMPTY && errno != EEXIST) {
        return false;
    }
    for (unsigned number = 1; number <= 1000; ++number) {
        const std::string aside = path + ".aside-" + std::to_string(number);
        struct stat info {};
        if (lstat(aside.c_str(), &info) != 0 && errno == ENOENT) {
            return std::rename(path.c_str(), aside.c_str()) == 0;
        }
    }
    return false;
}

}  // namespace dp_support
