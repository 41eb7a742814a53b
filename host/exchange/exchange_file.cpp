#include "host/exchange/exchange_file.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "host/process/service_log.hpp"
#include "host/process/trusted_file.hpp"
#include "support/remove_or_set_aside.hpp"

namespace dp_host {
namespace {

enum class lease_state : std::uint8_t { granted, refused, unsupported };

// A read lease is granted only while no process has the file open for writing. A process that then
// opens it for writing waits until the lease ends. On file systems without leases, the reported end
// of writing has to suffice.
lease_state take_lease(int fd) {
    if (fcntl(fd, F_SETLEASE, F_RDLCK) == 0) {
        return lease_state::granted;
    }
    return errno == EAGAIN ? lease_state::refused : lease_state::unsupported;
}

// Whether a failure to open a file says something about the file, and not about this moment.
bool is_about_file(int error) {
    return error == 0 || error == ELOOP || error == EPERM || error == EACCES || error == ENXIO ||
           error == ENODEV || error == ENOTDIR;
}

bool is_lease_broken(int fd) {
    return fcntl(fd, F_GETLEASE) == F_UNLCK;
}

}  // namespace

poll_result take_exchange_file(const std::string& path, const std::string& taken_path,
                               bool is_complete, dp_support::file_descriptor& lease) {
    auto file = open_trusted_file(path);
    if (!file) {
        if (file.code() != ENOENT && !is_about_file(file.code())) {
            log_error("cannot take a file yet: ", file.reason());
            return poll_result::retry_later;
        }
        if (file.code() != ENOENT) {
            const bool is_gone = dp_support::remove_or_set_aside(path);
            log_error("refused: ", file.reason(),
                      is_gone ? "; removed it" : "; it cannot be removed");
        }
        return poll_result::nothing;
    }
    const int fd = file->descriptor.get();
    const lease_state state = take_lease(fd);
    if (state == lease_state::refused) {
        return poll_result::being_written;
    }
    if (file->size == 0 && !is_complete) {
        return poll_result::nothing;
    }
    dp_support::remove_or_set_aside(taken_path);
    if (std::rename(path.c_str(), taken_path.c_str()) != 0) {
        log_error("cannot take ", path, " yet: ", std::strerror(errno));
        return poll_result::retry_later;
    }
    // A process that opened the file meanwhile waits to write to it: give it back, unless there is
    // another file by now.
    if (state == lease_state::granted && is_lease_broken(fd) &&
        link(taken_path.c_str(), path.c_str()) == 0) {
        dp_support::remove_or_set_aside(taken_path);
        return poll_result::being_written;
    }
    lease = std::move(file->descriptor);
    return poll_result::taken;
}

}  // namespace dp_host
