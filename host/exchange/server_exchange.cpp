#include "host/exchange/server_exchange.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <string>

#include "host/process/service_files.hpp"
#include "host/process/service_log.hpp"
#include "host/process/trusted_file.hpp"
#include "service_api/server_answer.hpp"
#include "service_api/server_paths.hpp"
#include "service_api/server_request.hpp"
#include "service_api/service_status.hpp"
#include "support/file_descriptor.hpp"
#include "support/remove_or_set_aside.hpp"
#include "support/staged_file.hpp"

namespace dp_host {
namespace {

constexpr std::size_t longest_request = 256;

dp_service::server_answer execute(settings_service& service, std::string request) {
    request.erase(std::min(request.find_last_not_of(" \t\r\n") + 1, request.size()));
    if (request == dp_service::server_request::restart) {
        return service.restart();
    }
    if (request == dp_service::server_request::update) {
        return service.update();
    }
    return {dp_service::service_status::not_supported, "unknown request"};
}

}  // namespace

void server_exchange::recover() {
    const std::string path = service_files::running_request.str();
    const auto running = open_trusted_file(path);
    if (running.code() == ENOENT) {
        return;
    }
    const auto answer = open_trusted_file(dp_service::server_paths::server_answer.str());
    const bool is_answered = running && answer && !is_later(running->modified, answer->modified);
    if (is_answered || !running) {
        dp_support::remove_or_set_aside(path);
        return;
    }
    log_line("a server request was being executed when the service ended: executing it again");
    execute_and_answer();
}

poll_result server_exchange::poll(bool is_complete) {
    dp_support::file_descriptor lease;
    const poll_result found =
        take_exchange_file(dp_service::server_paths::server_request.str(),
                           service_files::running_request.str(), is_complete, lease);
    if (found == poll_result::taken) {
        execute_and_answer();
    }
    return found;
}

void server_exchange::execute_and_answer() {
    const std::string running = service_files::running_request.str();
    const auto request = read_trusted_file(running, longest_request);
    const auto answer = request ? execute(service_, *request)
                                : dp_service::server_answer{
                                      dp_service::service_status::malformed_line, request.reason()};
    dp_support::staged_file file(dp_service::server_paths::server_answer.str(),
                                 dp_support::staged_file::volatile_file);
    file.out() << answer.line() << '\n';
    const auto placed = file.complete().and_then([&] { return file.replace(); });
    if (!placed) {
        log_error("cannot answer a server request: ", placed.reason());
    }
    dp_support::remove_or_set_aside(running);
}

}  // namespace dp_host
