#include "exchange_file.hpp"

#include <fcntl.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "own_file.hpp"
#include "service_log.hpp"

namespace dp_host {
namespace {

// A read lease is granted only while nobody has the file open for writing. File systems without
// leases say nothing about writers; there the end of writing was announced.
bool is_being_written(int fd) {
    if (fcntl(fd, F_SETLEASE, F_RDLCK) == 0) {
        fcntl(fd, F_SETLEASE, F_UNLCK);
        return false;
    }
    return errno == EAGAIN;
}

}  // namespace

exchange_look take_exchange_file(const std::string& path, const std::string& taken_path,
                                 bool has_ended) {
    const own_file file = open_own_file(path);
    if (!file.problem.empty()) {
        if (!file.missing) {
            const bool cleared = clear_away(path);
            log_error("refused: ", file.problem, cleared ? "; removed it" : "; it stays there");
        }
        return exchange_look::nothing;
    }
    if (is_being_written(file.descriptor.get())) {
        return exchange_look::being_written;
    }
    if (file.size == 0 && !has_ended) {
        return exchange_look::nothing;
    }
    clear_away(taken_path);
    if (std::rename(path.c_str(), taken_path.c_str()) != 0) {
        log_error("cannot take ", path, ": ", std::strerror(errno));
        return exchange_look::nothing;
    }
    return exchange_look::taken;
}

}  // namespace dp_host
