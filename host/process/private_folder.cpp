#include "host/process/private_folder.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "host/process/service_log.hpp"
#include "host/process/text_of.hpp"
#include "support/file_descriptor.hpp"

namespace dp_host {
namespace {

constexpr mode_t only_owner = S_IRWXU;
constexpr mode_t owner_and_readers = S_ISGID | S_IRWXU | S_IRGRP | S_IXGRP;
constexpr mode_t parent_mode = S_IRWXU | S_IRGRP | S_IXGRP | S_IROTH | S_IXOTH;

dp_support::failure failed(const char* action, const std::string& path) {
    return dp_support::system_failure(std::string(action) + " folder", path, errno);
}

// Parents may be symlinks that the system's owner made (/var/run and the like), but not folders
// where everybody may rename the files of others.
dp_support::result<> prepare_parents(const std::string& path) {
    for (std::size_t end = path.find('/', 1); end != std::string::npos;
         end = path.find('/', end + 1)) {
        const std::string parent = path.substr(0, end);
        if (mkdir(parent.c_str(), parent_mode) != 0 && errno != EEXIST && errno != EROFS) {
            return failed("create", parent);
        }
        struct stat info {};
        if (stat(parent.c_str(), &info) != 0) {
            return failed("examine", parent);
        }
        if (!S_ISDIR(info.st_mode)) {
            return dp_support::failure{parent + " is not a folder", ENOTDIR};
        }
        if ((info.st_mode & S_IWOTH) != 0 && (info.st_mode & S_ISVTX) == 0) {
            return dp_support::failure{parent + " can be written by everybody and is not sticky"};
        }
    }
    return {};
}

}  // namespace

dp_support::result<> prepare_private_folder(const std::string& path, std::optional<gid_t> readers) {
    if (auto prepared = prepare_parents(path); !prepared) {
        return prepared;
    }
    if (mkdir(path.c_str(), only_owner) != 0 && errno != EEXIST) {
        return failed("create", path);
    }
    const dp_support::file_descriptor folder(
        open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat info {};
    if (!folder.is_open()) {
        const int error = errno;
        // The error for a symlink is ENOTDIR or ELOOP.
        if (lstat(path.c_str(), &info) == 0 && S_ISLNK(info.st_mode)) {
            return dp_support::failure{path + " is a symlink", ELOOP};
        }
        return dp_support::system_failure("open folder", path, error);
    }
    if (fstat(folder.get(), &info) != 0) {
        return failed("examine", path);
    }
    if (info.st_uid != geteuid()) {
        return dp_support::failure{
            text_of(path, " belongs to user ", info.st_uid, ", not to user ", geteuid()), EPERM};
    }
    if (readers) {
        // A change of the group clears the bit that gives it to new files.
        if ((info.st_gid != *readers || (info.st_mode & 07777) != owner_and_readers) &&
            (fchown(folder.get(), static_cast<uid_t>(-1), *readers) != 0 ||
             fchmod(folder.get(), owner_and_readers) != 0)) {
            return failed("give the group access to", path);
        }
        return {};
    }
    if ((info.st_mode & 07777) != only_owner) {
        if (fchmod(folder.get(), only_owner) != 0) {
            return failed("restrict", path);
        }
        log_line("restricted folder ", path, " to its owner (mode 0700)");
    }
    return {};
}

}  // namespace dp_host
