#include "redfish/model/file_watch.hpp"

#include <sys/inotify.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "support/folder_of.hpp"
#include "support/inotify_events.hpp"

namespace dp_redfish {
namespace {

// Writing and replacing a file, and what makes one readable. Not closing: readers that lock a file
// open it for writing.
constexpr std::uint32_t watched_events = IN_MODIFY | IN_ATTRIB | IN_CREATE | IN_DELETE |
                                         IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF |
                                         IN_MOVE_SELF | IN_ONLYDIR;

std::string name_in(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

}  // namespace

file_watch::kernel file_watch::kernel::of_system() {
    return {[] { return inotify_init1(IN_CLOEXEC | IN_NONBLOCK); },
            [](int instance, const char* folder, std::uint32_t events) {
                return inotify_add_watch(instance, folder, events);
            }};
}

file_watch::file_watch(const std::vector<std::string>& files,
                       std::function<void(const std::string&)> log, kernel calls)
    : kernel_(std::move(calls)), log_(std::move(log)), instance_(kernel_.create()) {
    for (const std::string& file : files) {
        folders_[dp_support::folder_of(file)].names.insert(name_in(file));
    }
    if (!instance_.is_open()) {
        report(std::string("there is no inotify instance: ") + std::strerror(errno));
    }
    repair();
}

void file_watch::report(const std::string& problem) {
    if (!std::exchange(has_reported_, true) && log_) {
        log_("looks at the server's files every second, because " + problem);
    }
}

bool file_watch::is_complete() const {
    return std::all_of(folders_.begin(), folders_.end(),
                       [](const auto& each) { return each.second.watch >= 0; });
}

void file_watch::repair() {
    if (!instance_.is_open()) {
        return;
    }
    for (auto& [path, state] : folders_) {
        if (state.watch >= 0) {
            continue;
        }
        state.watch = kernel_.add(instance_.get(), path.c_str(), watched_events);
        // A folder that is missing may be made later.
        if (state.watch < 0 && errno != ENOENT) {
            report(path + " cannot be watched: " + std::strerror(errno));
        }
    }
}

bool file_watch::take_changes() {
    bool has_changed = false;
    dp_support::read_inotify_events(
        instance_.get(), [&](const inotify_event& event, const char* name) {
            has_changed = has_changed || (event.mask & IN_Q_OVERFLOW) != 0;
            for (auto& [path, state] : folders_) {
                if (state.watch != event.wd) {
                    continue;
                }
                has_changed = has_changed || event.len == 0 || state.names.contains(name);
                if ((event.mask & IN_MOVE_SELF) != 0) {
                    inotify_rm_watch(instance_.get(), state.watch);
                }
                if ((event.mask & (IN_IGNORED | IN_MOVE_SELF)) != 0) {
                    state.watch = -1;
                }
            }
        });
    return has_changed;
}

}  // namespace dp_redfish
