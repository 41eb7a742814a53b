#ifndef DP_COMMON_IO_LOOPS_HPP
#define DP_COMMON_IO_LOOPS_HPP

#include <sys/types.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <string>
#include <string_view>

namespace dp {

// read(2) and write(2), repeated after signal handlers and after short transfers. Descriptors are
// not owned. Any thread may call these.

/// Reads once. The number of bytes, 0 at the end of the file, or -1 with errno set, never to EINTR.
inline ssize_t read_some(int descriptor, void* buffer, std::size_t size) {
    while (true) {
        const ssize_t count = ::read(descriptor, buffer, size);
        if (count >= 0 || errno != EINTR) {
            return count;
        }
    }
}

/// Appends all bytes up to the end of the file to `content`. False with errno set when a read
/// fails, and with EFBIG when there are more than `limit` bytes; `content` is incomplete then.
inline bool read_all(int descriptor, std::size_t limit, std::string& content) {
    std::array<char, 16384> buffer{};
    std::size_t total = 0;
    while (true) {
        const ssize_t count = read_some(descriptor, buffer.data(), buffer.size());
        if (count <= 0) {
            return count == 0;
        }
        total += static_cast<std::size_t>(count);
        if (total > limit) {
            errno = EFBIG;
            return false;
        }
        content.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

/// Writes all of `text`. False with errno set when a write fails; a part may be written then.
inline bool write_all(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(descriptor, text.data(), text.size());
        if (count > 0) {
            text.remove_prefix(static_cast<std::size_t>(count));
        } else if (count == 0) {
            errno = EIO;
            return false;
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

}  // namespace dp

#endif
