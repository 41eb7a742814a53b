#include "host/process/bounded_lock.hpp"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>

#include "host/process/service_log.hpp"
#include "host/process/stop_signal.hpp"
#include "host/process/text_of.hpp"
#include "platform/sysipc/thread.hpp"

namespace dp_host {
namespace {

constexpr std::uint32_t pause_ms = 20;

struct flock whole_file(bounded_lock::kind which) {
    struct flock lock {};
    lock.l_type = which == bounded_lock::kind::shared ? F_RDLCK : F_WRLCK;
    lock.l_whence = SEEK_SET;
    return lock;
}

bool is_locked_by_another(int fd, bounded_lock::kind which) {
    const struct flock lock = whole_file(which);
    return fcntl(fd, F_SETLK, &lock) != 0 && (errno == EAGAIN || errno == EACCES);
}

// "process 7", or "another process" when it is not known, as that of another container.
std::string holder_of(int fd, bounded_lock::kind which) {
    struct flock lock = whole_file(which);
    const bool is_known =
        fcntl(fd, F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK && lock.l_pid > 0;
    return is_known ? text_of("process ", lock.l_pid) : "another process";
}

}  // namespace

dp_support::result<bounded_lock> bounded_lock::acquire(const std::string& path, kind which) {
    std::uint32_t remaining_ms = timeout_ms;
    return acquire(path, which, remaining_ms);
}

dp_support::result<bounded_lock> bounded_lock::acquire(const std::string& path, kind which,
                                                       std::uint32_t& remaining_ms) {
    for (bool is_first = true;; is_first = false) {
        // Opened again each time: the file may have been replaced meanwhile.
        const int mode = which == kind::shared ? O_RDONLY : O_RDWR;
        dp_support::file_descriptor file(
            open(path.c_str(), mode | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        if (!file.is_open() || !is_locked_by_another(file.get(), which)) {
            return bounded_lock(std::move(file));
        }
        const std::string locked = path + " is locked by " + holder_of(file.get(), which);
        if (remaining_ms == 0) {
            return dp_support::failure{locked, EBUSY};
        }
        if (which == kind::shared && stop_signal::received()) {
            return dp_support::failure{locked + "; stopped waiting", EBUSY};
        }
        if (is_first) {
            log_line(locked, "; waiting for at most ", (remaining_ms + 999) / 1000, " seconds");
        }
        sysipc::thread::sleep(pause_ms);
        remaining_ms -= std::min(remaining_ms, pause_ms);
    }
}

}  // namespace dp_host
