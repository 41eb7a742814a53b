#include "host/exchange/exchange_watch.hpp"

#include <sys/inotify.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "common/io_loops.hpp"

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

}  // namespace

dp_support::result<> exchange_watch::begin(const std::string& folder) {
    complete_.clear();
    notify_ = dp_support::file_descriptor(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (!notify_.is_open() ||
        inotify_add_watch(notify_.get(), folder.c_str(),
                          appeared | disappeared | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR |
                              IN_DONT_FOLLOW) == -1) {
        return dp_support::system_failure("watch", folder, errno);
    }
    return {};
}

bool exchange_watch::read_events() {
    alignas(inotify_event) std::array<char, 4096> buffer{};
    bool is_there = true;
    for (;;) {
        const ssize_t count = dp::read_some(notify_.get(), buffer.data(), buffer.size());
        if (count <= 0) {
            return is_there;
        }
        inotify_event event{};
        for (std::size_t at = 0; at < static_cast<std::size_t>(count);
             at += sizeof event + event.len) {
            std::memcpy(&event, buffer.data() + at, sizeof event);
            is_there = is_there && (event.mask & folder_disappeared) == 0;
            // The name is padded with null bytes.
            const std::string name = event.len > 0 ? buffer.data() + at + sizeof event : "";
            if ((event.mask & completed) == 0) {
                complete_.erase(name);
            } else if (complete_.size() < most_names) {
                complete_.insert(name);
            }
        }
    }
}

}  // namespace dp_host
