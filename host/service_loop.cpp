#include "service_loop.hpp"

#include <poll.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "common/fixed_paths.hpp"
#include "contract/server_paths.hpp"
#include "run_folder.hpp"
#include "service_log.hpp"
#include "stop_signal.hpp"

namespace dp_host {

service_loop::service_loop(settings_service& service)
    : service_(service), batches_(service.registrar()), requests_(service) {}

std::string service_loop::begin() {
    const std::string folder = server_paths::exchange_folder.str();
    std::string problem = prepare_run_folder(folder);
    return problem.empty() ? watch_.begin(folder) : problem;
}

void service_loop::recover() {
    requests_.recover();
    batches_.recover();
    service_.settle();
}

bool service_loop::has_ended(const std::string& path) {
    return watch_.take_end(std::filesystem::path(path).filename());
}

void service_loop::work() {
    bool is_busy = true;
    while (is_busy && !stop_signal::came()) {
        is_busy = requests_.look(has_ended(server_paths::server_request.str()));
        is_busy = batches_.look(has_ended(dp::fixed_paths::batch.str())) || is_busy;
        service_.settle();
    }
}

std::string service_loop::run() {
    for (;;) {
        work();
        pollfd entries[] = {{stop_signal::descriptor(), POLLIN, 0},
                            {watch_.descriptor(), POLLIN, 0}};
        if (poll(entries, 2, -1) == -1 && errno != EINTR) {
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
