#include "tools/dpctl/system/readable_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "support/file_descriptor.hpp"
#include "tools/dpctl/system/denied_access.hpp"

namespace dpctl {

std::string why_unreadable(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) == 0) {
        if (!S_ISREG(status.st_mode)) {
            return path + ": is not a file";
        }
        // O_NONBLOCK: the file may have been replaced by a pipe.
        const dp_support::file_descriptor file(
            open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
        if (file.is_open()) {
            return {};
        }
    }
    const int error = errno;
    return error == ENOENT ? std::string()
                           : "cannot read " + path + ": " + explain_denied_access(path, error);
}

}  // namespace dpctl
