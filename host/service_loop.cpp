#include "host/service_loop.hpp"

#include <poll.h>

#include <cerrno>
#include <filesystem>

#include "common/fixed_paths.hpp"
#include "host/process/private_folder.hpp"
#include "host/process/service_log.hpp"
#include "host/process/stop_signal.hpp"
#include "service_api/server_paths.hpp"

namespace dp_host {
namespace {

// The pause before a file that is being written is polled again. The kernel still counts a process
// as writer for a moment after it reported the end of the writing.
constexpr int writer_pause_ms = 20;

}  // namespace

service_loop::service_loop(settings_service& service)
    : service_(service), batches_(service.registrar()), requests_(service) {}

dp_support::result<> service_loop::begin() {
    const std::string folder = dp_service::server_paths::exchange_folder.str();
    return prepare_private_folder(folder).and_then([&] { return watch_.begin(folder); });
}

void service_loop::recover() {
    requests_.recover();
    batches_.recover();
    service_.retry_failed_write();
}

template <class Exchange>
poll_result service_loop::poll(Exchange& exchange, const std::string& path) {
    const std::string name = std::filesystem::path(path).filename();
    const poll_result found = exchange.poll(watch_.is_complete(name));
    if (found != poll_result::being_written) {
        watch_.forget(name);
    }
    return found;
}

// Executes what is in the exchange folder. True when a file there is being written.
bool service_loop::work() {
    poll_result request = poll_result::taken;
    poll_result batch = poll_result::taken;
    while ((request == poll_result::taken || batch == poll_result::taken) &&
           !stop_signal::received()) {
        request = poll(requests_, dp_service::server_paths::server_request.str());
        batch = poll(batches_, dp::fixed_paths::batch.str());
        service_.retry_failed_write();
    }
    return request == poll_result::being_written || batch == poll_result::being_written;
}

dp_support::result<> service_loop::run() {
    for (;;) {
        const int timeout_ms = work() ? writer_pause_ms : -1;
        pollfd entries[] = {{stop_signal::descriptor(), POLLIN, 0},
                            {watch_.descriptor(), POLLIN, 0}};
        if (::poll(entries, 2, timeout_ms) == -1 && errno != EINTR) {
            return dp_support::system_failure(
                "wait for", dp_service::server_paths::exchange_folder.str(), errno);
        }
        if (stop_signal::received()) {
            return {};
        }
        if (!watch_.read_events()) {
            // Programs that clean temporary folders do that. Clients need the folder too.
            log_error("the exchange folder was removed; creating it again");
            if (auto begun = begin(); !begun) {
                return begun;
            }
        }
    }
}

}  // namespace dp_host
