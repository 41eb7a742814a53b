#include "host/process/single_instance.hpp"

#include <cerrno>

#include "host/process/text_of.hpp"
#include "host/process/trusted_file.hpp"

namespace dp_host {

dp_support::result<> ensure_single_instance(dp_service::service_lock& lock,
                                            const std::string& path) {
    if (auto checked = check_trusted(path); !checked) {
        return checked;
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
