#include "host/exchange/run_folder.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "host/process/service_log.hpp"
#include "support/file_descriptor.hpp"

namespace dp_host {
namespace {

constexpr mode_t only_owner = S_IRWXU;
constexpr mode_t parent_mode = S_IRWXU | S_IRGRP | S_IXGRP | S_IROTH | S_IXOTH;

std::string failure(const char* what, const std::string& path) {
    return text_of("cannot ", what, " folder ", path, ": ", std::strerror(errno));
}

// Folders above the last one may be links that the system's owner made (/var/run and the like), but
// not places where anybody may rename what is not theirs.
std::string check_parents(const std::string& path) {
    for (std::size_t end = path.find('/', 1); end != std::string::npos;
         end = path.find('/', end + 1)) {
        const std::string parent = path.substr(0, end);
        if (mkdir(parent.c_str(), parent_mode) != 0 && errno != EEXIST && errno != EROFS) {
            return failure("make", parent);
        }
        struct stat info {};
        if (stat(parent.c_str(), &info) != 0) {
            return failure("examine", parent);
        }
        if (!S_ISDIR(info.st_mode)) {
            return parent + " is not a folder";
        }
        if ((info.st_mode & S_IWOTH) != 0 && (info.st_mode & S_ISVTX) == 0) {
            return parent + " can be written by everybody and is not sticky";
        }
    }
    return {};
}

}  // namespace

std::string prepare_run_folder(const std::string& path) {
    if (std::string problem = check_parents(path); !problem.empty()) {
        return problem;
    }
    if (mkdir(path.c_str(), only_owner) != 0 && errno != EEXIST) {
        return failure("make", path);
    }
    const dp_support::file_descriptor folder(
        open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat info {};
    if (!folder.is_open()) {
        // For a link the system answers that it is "not a directory" or "too many links".
        if (lstat(path.c_str(), &info) == 0 && S_ISLNK(info.st_mode)) {
            return path + " is a link";
        }
        return failure("open", path);
    }
    if (fstat(folder.get(), &info) != 0) {
        return failure("examine", path);
    }
    if (info.st_uid != geteuid()) {
        return text_of(path, " belongs to user ", info.st_uid, ", not to user ", geteuid());
    }
    if ((info.st_mode & 07777) != only_owner) {
        if (fchmod(folder.get(), only_owner) != 0) {
            return failure("restrict", path);
        }
        log_line("folder ", path, " is now for its owner only (mode 0700)");
    }
    return {};
}

}  // namespace dp_host
