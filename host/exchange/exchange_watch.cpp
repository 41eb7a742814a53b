#include "host/exchange/exchange_watch.hpp"

#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/timerfd.h>

#include <cerrno>
#include <cstdint>
#include <ctime>

#include "common/io_loops.hpp"
#include "support/inotify_events.hpp"

namespace dp_host {
namespace {

constexpr std::uint32_t completed = IN_CLOSE_WRITE | IN_MOVED_TO;
// Only IN_CREATE reports symlinks, folders, pipes and hard links to files that are complete.
constexpr std::uint32_t appeared = completed | IN_CREATE;
// A file may be taken before its completion is reported, which must not count for the next file.
constexpr std::uint32_t disappeared = IN_MOVED_FROM | IN_DELETE;
constexpr std::uint32_t folder_disappeared =
    IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED | IN_UNMOUNT;

// The service asks for two names. A folder full of others must not use up the memory.
constexpr std::size_t most_names = 256;

// While polling.
constexpr timespec polling_interval{0, 250'000'000};
constexpr std::time_t settled_seconds = 1;

// The user's inotify instances or watches are used up, or the process's descriptors.
bool is_limit(int error) {
    return error == EMFILE || error == ENOSPC;
}

}  // namespace

dp_support::result<> exchange_watch::begin(const std::string& folder) {
    complete_.clear();
    is_polling_ = false;
    notify_ = dp_support::file_descriptor(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (!notify_.is_open() ||
        inotify_add_watch(notify_.get(), folder.c_str(),
                          appeared | disappeared | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR |
                              IN_DONT_FOLLOW) == -1) {
        const int error = errno;
        return is_limit(error) ? begin_polling(folder)
                               : dp_support::system_failure("watch", folder, error);
    }
    return {};
}

dp_support::result<> exchange_watch::begin_polling(const std::string& folder) {
    complete_.clear();
    is_polling_ = true;
    folder_ = folder;
    struct stat found {};
    if (lstat(folder.c_str(), &found) != 0) {
        return dp_support::system_failure("watch", folder, errno);
    }
    if (!S_ISDIR(found.st_mode)) {
        return dp_support::system_failure("watch", folder, ENOTDIR);
    }
    device_ = found.st_dev;
    inode_ = found.st_ino;
    notify_ =
        dp_support::file_descriptor(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK));
    const itimerspec interval{polling_interval, polling_interval};
    if (!notify_.is_open() || timerfd_settime(notify_.get(), 0, &interval, nullptr) != 0) {
        return dp_support::system_failure("watch", folder, errno);
    }
    return {};
}

bool exchange_watch::is_complete(const std::string& name) const {
    if (!is_polling_) {
        return complete_.contains(name);
    }
    struct stat found {};
    return lstat((folder_ + '/' + name).c_str(), &found) == 0 &&
           std::time(nullptr) - found.st_mtim.tv_sec > settled_seconds;
}

bool exchange_watch::is_same_folder() const {
    struct stat found {};
    return lstat(folder_.c_str(), &found) == 0 && found.st_dev == device_ && found.st_ino == inode_;
}

bool exchange_watch::read_events() {
    if (!is_polling_) {
        return read_notifications();
    }
    std::uint64_t count = 0;
    // Nothing to read before the next time.
    static_cast<void>(dp::read_some(notify_.get(), reinterpret_cast<char*>(&count), sizeof count));
    return is_same_folder();
}

bool exchange_watch::read_notifications() {
    bool is_there = true;
    dp_support::read_inotify_events(
        notify_.get(), [&](const inotify_event& event, const char* name) {
            is_there = is_there && (event.mask & folder_disappeared) == 0;
            if ((event.mask & completed) == 0) {
                complete_.erase(name);
            } else if (complete_.size() < most_names) {
                complete_.insert(name);
            }
        });
    return is_there;
}

}  // namespace dp_host
