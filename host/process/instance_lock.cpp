#include "host/process/instance_lock.hpp"

#include <fcntl.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "host/exchange/own_file.hpp"
#include "host/process/service_log.hpp"
#include "service_api/service_lock.hpp"

namespace dp_host {

std::string instance_lock::take(const std::string& path) {
    dp_support::file_descriptor file(service_lock::open_file(path));
    const int open_error = errno;
    if (std::string problem = problem_with_file(path); !problem.empty()) {
        return problem;
    }
    if (!file.is_open()) {
        return text_of("cannot open ", path, ": ", std::strerror(open_error));
    }
    const int error = service_lock::take(file.get());
    if (error == 0) {
        file_ = std::move(file);
        return {};
    }
    if (error != EAGAIN) {
        return text_of("cannot lock ", path, ": ", std::strerror(error));
    }
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    if (fcntl(file.get(), F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK && lock.l_pid > 0) {
        return text_of("already running as process ", lock.l_pid);
    }
    return "already running";
}

}  // namespace dp_host
