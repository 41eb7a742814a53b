#include "tools/dpctl/system/folder_watch.hpp"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <filesystem>

namespace dpctl {

folder_watch::folder_watch(const std::string& file)
    : folder_(std::filesystem::path(file).parent_path().string()),
      events_(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
    if (folder_.empty()) {
        folder_ = ".";
    }
    renew();
}

bool folder_watch::renew() {
    std::array<char, 4096> discarded{};
    while (read(events_.get(), discarded.data(), discarded.size()) > 0) {
    }
    // No effect if the folder is already watched.
    return events_.is_open() &&
           inotify_add_watch(events_.get(), folder_.c_str(),
                             IN_MODIFY | IN_CLOSE_WRITE | IN_CREATE | IN_DELETE | IN_MOVED_TO |
                                 IN_MOVED_FROM | IN_DELETE_SELF | IN_ONLYDIR) >= 0;
}

}  // namespace dpctl
