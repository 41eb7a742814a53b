#include "host/service_loop.hpp"

#include <poll.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "common/fixed_paths.hpp"
#include "host/exchange/run_folder.hpp"
#include "host/process/service_log.hpp"
#include "host/process/stop_signal.hpp"
#include "service_api/server_paths.hpp"

namespace dp_host {
namespace {

// How soon to look again at a file that is being written. The last event that its writer makes
// comes a moment before it stops counting as one.
constexpr int writer_pause_ms = 20;

}  // namespace

service_loop::service_loop(settings_service& service)
    : service_(service), batches_(service.registrar()), requests_(service) {}

std::string service_loop::begin() {
    const std::string folder = dp_service::server_paths::exchange_folder.str();
    std::string problem = prepare_run_folder(folder);
    return problem.empty() ? watch_.begin(folder) : problem;
}

void service_loop::recover() {
    requests_.recover();
    batches_.recover();
    service_.settle();
}

template <class Exchange>
exchange_look service_loop::look_at(Exchange& exchange, const std::string& path) {
    const std::string name = std::filesystem::path(path).filename();
    const exchange_look look = exchange.look(watch_.has_ended(name));
    if (look != exchange_look::being_written) {
        watch_.forget_end(name);
    }
    return look;
}

// Carries out what is there. True when something is being written.
bool service_loop::work() {
    exchange_look request = exchange_look::taken;
    exchange_look batch = exchange_look::taken;
    while ((request == exchange_look::taken || batch == exchange_look::taken) &&
           !stop_signal::came()) {
        request = look_at(requests_, dp_service::server_paths::server_request.str());
        batch = look_at(batches_, dp::fixed_paths::batch.str());
        service_.settle();
    }
    return request == exchange_look::being_written || batch == exchange_look::being_written;
}

std::string service_loop::run() {
    for (;;) {
        const int patience = work() ? writer_pause_ms : -1;
        pollfd entries[] = {{stop_signal::descriptor(), POLLIN, 0},
                            {watch_.descriptor(), POLLIN, 0}};
        if (poll(entries, 2, patience) == -1 && errno != EINTR) {
            return text_of("cannot wait: ", std::strerror(errno));
        }
        if (stop_signal::came()) {
            return {};
        }
        if (!watch_.take_events()) {
            // Cleaners of temporary folders do that. Clients need the folder as much as we do.
            log_error("the exchange folder went away; making it anew");
            if (std::string problem = begin(); !problem.empty()) {
                return problem;
            }
        }
    }
}

}  // namespace dp_host
