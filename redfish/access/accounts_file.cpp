#include "redfish/access/accounts_file.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <thread>
#include <utility>

#include "common/io_loops.hpp"
#include "redfish/access/accounts_text.hpp"
#include "redfish/access/secret_text.hpp"
#include "support/folder_of.hpp"
#include "support/staged_file.hpp"

namespace dp_redfish {
namespace {

using dp_support::failure;
using dp_support::file_descriptor;
using dp_support::system_failure;

constexpr std::size_t greatest_accounts_file = std::size_t{1} << 20U;

accounts_file::version version_of(const struct stat& info) {
    return {static_cast<std::uint64_t>(info.st_ino), std::int64_t{info.st_mtim.tv_sec},
            std::int64_t{info.st_mtim.tv_nsec}, std::int64_t{info.st_size}};
}

bool is_owner_trusted(uid_t owner, const std::string& path) {
    const uid_t self = geteuid();
    if (owner == self) {
        return true;
    }
    struct stat folder {};
    return self == 0 && stat(dp_support::folder_of(path).c_str(), &folder) == 0 &&
           folder.st_uid == owner;
}

}  // namespace

dp_support::result<> check_folder_of_secrets(const std::string& path) {
    const std::string folder = dp_support::folder_of(path);
    struct stat info {};
    if (stat(folder.c_str(), &info) != 0) {
        return system_failure("read", folder, errno);
    }
    const bool others_may_write = (info.st_mode & (S_IWGRP | S_IWOTH)) != 0;
    const bool others_may_replace = others_may_write && (info.st_mode & S_ISVTX) == 0;
    const uid_t self = geteuid();
    if (others_may_replace || (info.st_uid != self && info.st_uid != 0 && self != 0)) {
        return failure{folder + ": others may replace files in this folder", EPERM};
    }
    return {};
}

dp_support::result<> give_to_folder_owner(const std::string& path) {
    struct stat folder {};
    if (geteuid() != 0) {
        return {};
    }
    if (stat(dp_support::folder_of(path).c_str(), &folder) != 0 ||
        (folder.st_uid != 0 && lchown(path.c_str(), folder.st_uid, folder.st_gid) != 0)) {
        return system_failure("give away", path, errno);
    }
    return {};
}

accounts_file::version accounts_file::present_version() const {
    struct stat info {};
    return lstat(path_.c_str(), &info) == 0 ? version_of(info) : version();
}

dp_support::result<accounts_file::content> accounts_file::read() const {
    // O_NONBLOCK: a pipe would wait for its writer.
    const file_descriptor file(open(path_.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file.is_open()) {
        return errno == ELOOP ? failure{path_ + ": is a symlink", ELOOP}
                              : system_failure("read", path_, errno);
    }
    struct stat info {};
    if (fstat(file.get(), &info) != 0) {
        return system_failure("read", path_, errno);
    }
    if (!S_ISREG(info.st_mode)) {
        return failure{path_ + ": is not a regular file", EINVAL};
    }
    if (!is_owner_trusted(info.st_uid, path_)) {
        return failure{path_ + ": belongs to another user", EPERM};
    }
    if ((info.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        return failure{path_ + ": others may read or write it; its mode must be 0600", EPERM};
    }
    if (auto folder = check_folder_of_secrets(path_); !folder) {
        return folder.error();
    }
    std::string text;
    if (!dp::read_all(file.get(), greatest_accounts_file, text)) {
        return errno == EFBIG ? failure{path_ + ": is larger than 1 MiB", EFBIG}
                              : system_failure("read", path_, errno);
    }
    auto data = read_accounts_text(text);
    if (!data) {
        return failure{path_ + ": " + data.reason(), EINVAL};
    }
    return content{std::move(*data), version_of(info)};
}

accounts_file::written accounts_file::write(const account_data& data) const {
    written result;
    if (auto folder = check_folder_of_secrets(path_); !folder) {
        result.outcome = folder;
        return result;
    }
    constexpr mode_t owner_only = S_IRUSR | S_IWUSR;
    dp_support::staged_file file(path_, dp_support::staged_file::durable, owner_only);
    file.out() << write_accounts_text(data);
    result.outcome = file.complete()
                         .and_then([&] { return give_to_folder_owner(file.staged_path()); })
                         .and_then([&] { return file.replace(); });
    result.is_in_place = file.is_in_place();
    result.now = present_version();
    return result;
}

dp_support::result<file_descriptor> accounts_file::lock(std::chrono::milliseconds patience) const {
    const std::string folder = dp_support::folder_of(path_);
    file_descriptor handle(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!handle.is_open()) {
        return system_failure("lock", folder, errno);
    }
    constexpr std::chrono::milliseconds pause(10);
    while (flock(handle.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno == EINTR) {
            continue;
        }
        if (errno != EWOULDBLOCK || patience.count() <= 0) {
            return system_failure("lock", folder, errno);
        }
        // The other process holds the lock only while it writes the file.
        std::this_thread::sleep_for(pause);
        patience -= pause;
    }
    return handle;
}

}  // namespace dp_redfish
