#include "host/model/update_files.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <utility>

#include "host/process/trusted_file.hpp"
#include "support/file_descriptor.hpp"
#include "support/folder_of.hpp"
#include "support/remove_or_set_aside.hpp"
#include "support/staged_file.hpp"

namespace dp_host {
namespace {

constexpr std::size_t longest_marker = std::size_t{1} << 20U;

dp_support::result<> write_durably(const std::string& path, std::string_view content) {
    dp_support::staged_file file(path, dp_support::staged_file::durable);
    file.out() << content;
    return file.complete().and_then([&] { return file.replace(); });
}

dp_support::result<> sync_folder(const std::string& folder) {
    const dp_support::file_descriptor handle(
        open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!handle.is_open() || fsync(handle.get()) != 0) {
        return dp_support::system_failure("sync", folder, errno);
    }
    return {};
}

}  // namespace

update_files::update_files(std::string folder, std::vector<std::string> targets)
    : folder_(std::move(folder)), targets_(std::move(targets)), marker_(folder_ + "/installing") {}

std::string update_files::staged_path(const std::string& target) const {
    return folder_ + target.substr(target.rfind('/')) + ".staged";
}

dp_support::result<> update_files::stage(const std::string& target,
                                         std::string_view content) const {
    return write_durably(staged_path(target), content);
}

std::string update_files::removal_path(const std::string& target) const {
    return folder_ + target.substr(target.rfind('/')) + ".removed";
}

dp_support::result<> update_files::stage_removal(const std::string& target) const {
    return write_durably(removal_path(target), {});
}

dp_support::result<> update_files::commit(std::string_view text) const {
    return write_durably(marker_, text);
}

bool update_files::is_committed() const {
    return open_trusted_file(marker_).ok();
}

std::string update_files::text_of_marker() const {
    const auto text = read_trusted_file(marker_, longest_marker);
    return text ? *text : std::string();
}

dp_support::result<> update_files::place() const {
    for (const auto& target : targets_) {
        if (open_trusted_file(removal_path(target)).ok()) {
            if (std::remove(target.c_str()) != 0 && errno != ENOENT) {
                return dp_support::system_failure("remove", target, errno);
            }
            continue;
        }
        const std::string staged = staged_path(target);
        // Readers compare file times: the file must not look older than what was made from its old
        // content a moment ago.
        const bool is_staged = utimensat(AT_FDCWD, staged.c_str(), nullptr, 0) == 0;
        if (!is_staged && errno == ENOENT) {
            continue;
        }
        if (!is_staged || std::rename(staged.c_str(), target.c_str()) != 0) {
            return dp_support::system_failure("replace", target, errno);
        }
    }
    // The marker must not disappear before the new names are on the disk.
    for (const auto& target : targets_) {
        if (auto synced = sync_folder(dp_support::folder_of(target)); !synced) {
            return synced;
        }
    }
    return {};
}

dp_support::result<> update_files::finish() const {
    if (std::remove(marker_.c_str()) != 0 && errno != ENOENT) {
        return dp_support::system_failure("remove", marker_, errno);
    }
    discard();
    return sync_folder(folder_);
}

void update_files::discard() const {
    for (const auto& target : targets_) {
        dp_support::remove_or_set_aside(staged_path(target));
        dp_support::remove_or_set_aside(removal_path(target));
    }
}

}  // namespace dp_host
