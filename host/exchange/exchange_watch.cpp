#include "host/exchange/exchange_watch.hpp"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "common/io_loops.hpp"
#include "host/process/service_log.hpp"

namespace dp_host {
namespace {

// Ends of writing and renames tell of finished files; what is made otherwise (links, folders,
// pipes, further names of finished files) is only noticed when it appears.
constexpr std::uint32_t arrivals = IN_CLOSE_WRITE | IN_MOVED_TO | IN_CREATE;
constexpr std::uint32_t ends = IN_CLOSE_WRITE | IN_MOVED_TO;
// A file may be taken before its end is told, which must not pass for the end of the next one.
constexpr std::uint32_t leavings = IN_MOVED_FROM | IN_DELETE;
constexpr std::uint32_t departures = IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED | IN_UNMOUNT;

// Few names are ever asked for; a folder full of others must not fill the memory.
constexpr std::size_t most_names = 256;

}  // namespace

std::string exchange_watch::begin(const std::string& folder) {
    ended_.clear();
    notify_ = dp_support::file_descriptor(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (!notify_.is_open() ||
        inotify_add_watch(notify_.get(), folder.c_str(),
                          arrivals | leavings | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR |
                              IN_DONT_FOLLOW) == -1) {
        return text_of("cannot watch ", folder, ": ", std::strerror(errno));
    }
    return {};
}

bool exchange_watch::take_events() {
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
            is_there = is_there && (event.mask & departures) == 0;
            // The name is padded with bytes of zero.
            const std::string name = event.len > 0 ? buffer.data() + at + sizeof event : "";
            if ((event.mask & ends) == 0) {
                ended_.erase(name);
            } else if (ended_.size() < most_names) {
                ended_.insert(name);
            }
        }
    }
}

}  // namespace dp_host
