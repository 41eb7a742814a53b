#include "tests/support/file_watch.hpp"

#include <fcntl.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace test {

file_watch::file_watch(std::initializer_list<std::string> folders)
    : file_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)), works_(file_ >= 0) {
    for (const std::string& folder : folders) {
        // The kernel merges equal events in a row; IN_CLOSE separates two uses.
        works_ = works_ && inotify_add_watch(file_, folder.c_str(),
                                             IN_OPEN | IN_ACCESS | IN_CLOSE | IN_CREATE) >= 0;
    }
}

file_watch::~file_watch() {
    if (file_ >= 0) {
        close(file_);
    }
}

std::map<std::string, file_watch::uses> file_watch::take() {
    std::map<std::string, uses> found;
    std::map<std::string, bool> is_unread;
    alignas(inotify_event) std::array<char, 65536> events{};
    ssize_t size = 0;
    while ((size = read(file_, events.data(), events.size())) > 0) {
        for (const char* at = events.data(); at < events.data() + size;) {
            inotify_event event{};
            std::memcpy(&event, at, sizeof event);
            const std::string name = event.len != 0 ? at + sizeof event : "";
            at += sizeof event + event.len;
            uses& file = found[name];
            if ((event.mask & IN_OPEN) != 0) {
                ++file.opened;
                is_unread[name] = true;
            } else if ((event.mask & IN_ACCESS) != 0 && is_unread[name]) {
                ++file.read;
                is_unread[name] = false;
            }
        }
    }
    return found;
}

std::int64_t bytes_read(std::int64_t& own) {
    constexpr std::string_view key = "rchar: ";
    const int file = open("/proc/self/io", O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return -1;
    }
    std::array<char, 1024> text{};
    own = read(file, text.data(), text.size() - 1);
    close(file);
    const char* const number = std::strstr(text.data(), key.data());
    return number != nullptr ? std::atoll(number + key.size()) : -1;
}

}  // namespace test
