#include "host/exchange/server_exchange.hpp"

#include <algorithm>
#include <cstdint>
#include <string>

#include "host/exchange/own_file.hpp"
#include "host/process/service_files.hpp"
#include "host/process/service_log.hpp"
#include "service_api/server_answer.hpp"
#include "service_api/server_paths.hpp"
#include "service_api/server_request.hpp"
#include "service_api/service_status.hpp"
#include "support/file_descriptor.hpp"
#include "support/remove_or_set_aside.hpp"
#include "support/staged_file.hpp"

namespace dp_host {
namespace {

constexpr std::uint64_t longest_request = 256;

}  // namespace

void server_exchange::recover() {
    const std::string path = service_files::running_request.str();
    const own_file running = open_own_file(path);
    if (running.missing) {
        return;
    }
    const own_file answer = open_own_file(dp_service::server_paths::server_answer.str());
    const bool is_answered = answer.problem.empty() && !is_later(running.modified, answer.modified);
    if (is_answered || !running.problem.empty()) {
        dp_support::remove_or_set_aside(path);
        return;
    }
    log_line("a server request was being carried out when the service ended: doing it again");
    carry_out_and_answer();
}

exchange_look server_exchange::look(bool has_ended) {
    dp_support::file_descriptor hold;
    const exchange_look look =
        take_exchange_file(dp_service::server_paths::server_request.str(),
                           service_files::running_request.str(), has_ended, hold);
    if (look == exchange_look::taken) {
        carry_out_and_answer();
    }
    return look;
}

void server_exchange::carry_out_and_answer() {
    const std::string running = service_files::running_request.str();
    std::string problem;
    std::string request = read_own_file(running, longest_request, problem);
    request.erase(std::min(request.find_last_not_of(" \t\r\n") + 1, request.size()));
    dp_service::server_answer outcome;
    if (!problem.empty()) {
        outcome = {dp_service::service_status::malformed_line, problem};
    } else if (request == dp_service::server_request::restart) {
        outcome = service_.restart();
    } else if (request == dp_service::server_request::update) {
        outcome = service_.update();
    } else {
        outcome = {dp_service::service_status::not_supported, "unknown request"};
    }
    dp_support::staged_file answer(dp_service::server_paths::server_answer.str(),
                                   dp_support::staged_file::volatile_file);
    answer.out() << outcome.line() << '\n';
    const auto placed = answer.complete().and_then([&] { return answer.replace(); });
    if (!placed) {
        log_error("cannot answer a server request: ", placed.reason());
    }
    dp_support::remove_or_set_aside(running);
}

}  // namespace dp_host
