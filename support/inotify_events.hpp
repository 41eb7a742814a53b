#ifndef DP_SUPPORT_INOTIFY_EVENTS_HPP
#define DP_SUPPORT_INOTIFY_EVENTS_HPP

#include <sys/inotify.h>
#include <sys/types.h>

#include <array>
#include <climits>
#include <cstddef>
#include <cstring>

#include "common/io_loops.hpp"

namespace dp_support {

/// Reads the events that a non-blocking inotify instance has, and calls
/// `take(const inotify_event& event, const char* name)` for each. The name is empty for the watched
/// folder itself, and valid during the call.
template <class Take>
void read_inotify_events(int instance, Take take) {
    alignas(inotify_event) std::array<char, 16 * (sizeof(inotify_event) + NAME_MAX + 1)> buffer{};
    for (;;) {
        const ssize_t count = dp::read_some(instance, buffer.data(), buffer.size());
        if (count <= 0) {
            return;
        }
        inotify_event event{};
        for (std::size_t at = 0; at < static_cast<std::size_t>(count);
             at += sizeof event + event.len) {
            std::memcpy(&event, buffer.data() + at, sizeof event);
            // The name is padded with null bytes.
            take(event, event.len > 0 ? buffer.data() + at + sizeof event : "");
        }
    }
}

}  // namespace dp_support

#endif
