#include "host/process/single_instance.hpp"

#include <cerrno>

#include "host/exchange/own_file.hpp"
#include "host/process/service_log.hpp"

namespace dp_host {

dp_support::result<> ensure_single_instance(dp_service::service_lock& lock,
                                            const std::string& path) {
    if (std::string problem = problem_with_file(path); !problem.empty()) {
        return dp_support::failure{std::move(problem)};
    }
    const int error = lock.acquire(path);
    if (error == 0) {
        return {};
    }
    if (error != EAGAIN) {
        return dp_support::system_failure("lock", path, error);
    }
    const pid_t holder = lock.holder();
    return dp_support::failure{
        holder == 0 ? "already running" : text_of("already running as process ", holder), error};
}

}  // namespace dp_host
