#include "host/process/replace_under_lock.hpp"

#include <fcntl.h>

#include <cerrno>
#include <cstdint>
#include <string>

#include "common/file_locks.hpp"
#include "platform/sysipc/thread.hpp"
#include "support/file_descriptor.hpp"

namespace dp_host {
namespace {

constexpr std::uint32_t lock_timeout_ms = 10'000;
constexpr std::uint32_t lock_pause_ms = 20;

// Acquiring the write lock has no time limit. A reader that was stopped must not stop the service
// too, so the lock is only acquired after it was seen to be free.
bool becomes_unlocked(const std::string& path) {
    for (std::uint32_t waited = 0;; waited += lock_pause_ms) {
        const dp_support::file_descriptor file(
            open(path.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        struct flock lock {};
        lock.l_type = F_WRLCK;
        lock.l_whence = SEEK_SET;
        if (!file.is_open() || fcntl(file.get(), F_GETLK, &lock) != 0 || lock.l_type == F_UNLCK) {
            return true;
        }
        if (waited >= lock_timeout_ms) {
            return false;
        }
        sysipc::thread::sleep(lock_pause_ms);
    }
}

}  // namespace

dp_support::result<> replace_under_lock(dp_support::staged_file& file) {
    if (!file.outcome()) {
        return file.outcome();
    }
    if (!becomes_unlocked(file.path())) {
        return dp_support::failure{file.path() + " is locked by another process", EBUSY};
    }
    const writelock lock(file.path());
    return file.replace();
}

}  // namespace dp_host
