#include "host/exchange/exchange_file.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <utility>

#include "host/exchange/own_file.hpp"
#include "host/process/service_log.hpp"
#include "support/remove_or_set_aside.hpp"

namespace dp_host {
namespace {

enum class lease : std::uint8_t { held, refused, unknown };

// A read lease is granted only while nobody has the file open for writing, and who opens it for
// that waits until the lease ends. File systems without leases say nothing about writers; there the
// end of writing was announced.
lease take_lease(int fd) {
    if (fcntl(fd, F_SETLEASE, F_RDLCK) == 0) {
        return lease::held;
    }
    return errno == EAGAIN ? lease::refused : lease::unknown;
}

}  // namespace

exchange_look take_exchange_file(const std::string& path, const std::string& taken_path,
                                 bool has_ended, dp_support::file_descriptor& hold) {
    own_file file = open_own_file(path);
    if (!file.problem.empty()) {
        if (!file.missing) {
            const bool cleared = dp_support::remove_or_set_aside(path);
            log_error("refused: ", file.problem, cleared ? "; removed it" : "; it stays there");
        }
        return exchange_look::nothing;
    }
    const lease quiet = take_lease(file.descriptor.get());
    if (quiet == lease::refused) {
        return exchange_look::being_written;
    }
    if (file.size == 0 && !has_ended) {
        return exchange_look::nothing;
    }
    dp_support::remove_or_set_aside(taken_path);
    if (std::rename(path.c_str(), taken_path.c_str()) != 0) {
        log_error("cannot take ", path, ": ", std::strerror(errno));
        return exchange_look::nothing;
    }
    // Who opened it meanwhile, to write it anew, waits to go on: then it goes back to its place,
    // unless a further file is there by now.
    if (quiet == lease::held && fcntl(file.descriptor.get(), F_GETLEASE) == F_UNLCK &&
        link(taken_path.c_str(), path.c_str()) == 0) {
        dp_support::remove_or_set_aside(taken_path);
        return exchange_look::being_written;
    }
    hold = std::move(file.descriptor);
    return exchange_look::taken;
}

}  // namespace dp_host
