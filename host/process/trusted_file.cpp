#include "host/process/trusted_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "common/io_loops.hpp"
#include "host/process/text_of.hpp"

namespace dp_host {
namespace {

dp_support::result<> check(const struct stat& info, const std::string& path) {
    if (S_ISLNK(info.st_mode)) {
        return dp_support::failure{path + " is a symlink", ELOOP};
    }
    if (!S_ISREG(info.st_mode)) {
        return dp_support::failure{path + " is not a regular file"};
    }
    if (info.st_uid != geteuid()) {
        return dp_support::failure{
            text_of(path, " belongs to user ", info.st_uid, ", not to user ", geteuid()), EPERM};
    }
    return {};
}

}  // namespace

bool is_missing(const std::string& path) {
    struct stat info {};
    return lstat(path.c_str(), &info) != 0 && errno == ENOENT;
}

dp_support::result<> check_trusted(const std::string& path) {
    struct stat info {};
    if (lstat(path.c_str(), &info) == 0) {
        return check(info, path);
    }
    if (errno == ENOENT) {
        return {};
    }
    return dp_support::system_failure("examine", path, errno);
}

dp_support::result<trusted_file> open_trusted_file(const std::string& path) {
    dp_support::file_descriptor descriptor(
        open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!descriptor.is_open()) {
        const int error = errno;
        if (error == ELOOP) {
            return dp_support::failure{path + " is a symlink", error};
        }
        return dp_support::system_failure("open", path, error);
    }
    struct stat info {};
    if (fstat(descriptor.get(), &info) != 0) {
        return dp_support::system_failure("examine", path, errno);
    }
    if (auto checked = check(info, path); !checked) {
        return checked.error();
    }
    return trusted_file{std::move(descriptor), static_cast<std::uint64_t>(info.st_size),
                        info.st_mtim, info.st_uid};
}

dp_support::result<std::string> read_trusted_file(const std::string& path, std::size_t limit) {
    const auto file = open_trusted_file(path);
    if (!file) {
        return file.error();
    }
    std::string content;
    const bool is_too_long = file->size > limit;
    if (!is_too_long && dp::read_all(file->descriptor.get(), limit, content)) {
        return content;
    }
    if (is_too_long || errno == EFBIG) {
        return dp_support::failure{text_of(path, " is longer than ", limit, " bytes"), EFBIG};
    }
    return dp_support::system_failure("read", path, errno);
}

dp_support::result<> give_read_access(const std::string& path, gid_t group) {
    if (is_missing(path)) {
        return {};
    }
    const auto file = open_trusted_file(path);
    if (!file) {
        return file.error();
    }
    // The mode last: a change of the group may clear bits of it.
    if (fchown(file->descriptor.get(), static_cast<uid_t>(-1), group) != 0 ||
        fchmod(file->descriptor.get(), S_IRUSR | S_IWUSR | S_IRGRP) != 0) {
        return dp_support::system_failure("give the group access to", path, errno);
    }
    return {};
}

bool is_later(const timespec& a, const timespec& b) {
    return a.tv_sec != b.tv_sec ? a.tv_sec > b.tv_sec : a.tv_nsec > b.tv_nsec;
}

}  // namespace dp_host
