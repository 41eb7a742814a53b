#include "host/model/values_archive.hpp"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "host/process/service_log.hpp"
#include "host/process/trusted_file.hpp"
#include "service_api/values_backups.hpp"
#include "service_api/values_seal.hpp"

namespace dp_host {
namespace {

namespace values_backups = dp_service::values_backups;

bool is_damage(int code) {
    return code == EBADMSG || code == EFBIG;
}

}  // namespace

bool values_archive::identity::operator==(const identity& other) const {
    return device == other.device && inode == other.inode && size == other.size &&
           modified.tv_sec == other.modified.tv_sec && modified.tv_nsec == other.modified.tv_nsec;
}

std::optional<values_archive::identity> values_archive::identity_of(const std::string& path) {
    struct stat info {};
    if (lstat(path.c_str(), &info) != 0) {
        return std::nullopt;
    }
    return identity{info.st_dev, info.st_ino, info.st_size, info.st_mtim};
}

dp_support::result<values_archive::loaded> values_archive::load() {
    const auto before = identity_of(path_);
    auto own = read_values(path_);
    if (own) {
        complete_ = before;
        return loaded{*std::move(own), false, {}, false};
    }
    complete_.reset();
    file_is_damaged_ = is_damage(own.code());
    if (!file_is_damaged_ && own.code() != ENOENT) {
        return own.error();
    }
    const std::string backup = values_backups::backup_of(path_);
    auto other = read_values(backup);
    backup_is_damaged_ = is_damage(other.code());
    if (!other && other.code() != ENOENT) {
        log_error("cannot use a backup: ", other.reason());
    }
    loaded found;
    found.is_damaged = file_is_damaged_ || backup_is_damaged_;
    if (file_is_damaged_) {
        found.problem = own.reason();
    } else if (other || backup_is_damaged_) {
        found.problem = path_ + " is missing";
    }
    if (other) {
        found.content = *std::move(other);
        found.is_backup = true;
    }
    return found;
}

void values_archive::keep_damaged() const {
    const std::string backup = values_backups::backup_of(path_);
    for (const auto& [is_damaged, file] :
         {std::pair(backup_is_damaged_, backup), std::pair(file_is_damaged_, path_)}) {
        const auto found = identity_of(file);
        // A file that no writer can have meant must not fill the disk.
        if (!is_damaged || !found || found->size > off_t{dp_service::values_seal::size_limit}) {
            continue;
        }
        if (values_backups::keep_damaged(path_, file)) {
            log_line("kept ", file, " as ", values_backups::damaged_of(path_, 1));
        } else {
            log_error("cannot keep the damaged file ", file, ": ", std::strerror(errno));
        }
    }
}

void values_archive::keep_backup() const {
    if (!complete_ || complete_ != identity_of(path_)) {
        return;
    }
    if (!values_backups::keep_backup(path_)) {
        log_error("cannot keep a backup of ", path_, ": ", std::strerror(errno));
    }
}

}  // namespace dp_host
