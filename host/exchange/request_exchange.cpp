#include "host/exchange/request_exchange.hpp"

#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "host/exchange/run_batch.hpp"
#include "host/process/service_log.hpp"
#include "service_api/request_protocol.hpp"
#include "service_api/server_answer.hpp"
#include "service_api/service_status.hpp"
#include "support/checked_streams.hpp"

namespace dp_host {
namespace {

using clock = client_connection::clock;
namespace kind = dp_service::request_protocol::request_kind;
namespace service_status = dp_service::service_status;

void answer_with(client_connection& client, const dp_service::server_answer& answer) {
    client.answer(answer.status, answer.text(), clock::now());
}

}  // namespace

bool request_exchange::work() {
    socket_.exchange();
    client_connection* const client = socket_.next();
    if (client == nullptr) {
        return false;
    }
    try {
        execute(*client);
    } catch (const std::bad_alloc&) {
        if (service_.is_installing()) {
            throw;
        }
        // What was persisted before is reported by no answer: the client reads it back.
        log_error("memory ran out while a request was executed");
        client->answer(dp_service::service_status::over_limit, "memory ran out", clock::now());
    }
    socket_.exchange();
    return true;
}

void request_exchange::execute(client_connection& client) {
    const std::string& planned_on = client.header().planned_on;
    const std::string_view requested = client.header().kind;
    if (!planned_on.empty() && planned_on != service_.pending_version()) {
        client.refuse(service_status::pending_changed,
                      service_status::explanation(service_status::pending_changed), clock::now());
    } else if (requested == kind::batch) {
        run(client);
    } else if (requested == kind::restart) {
        log_line("restart requested by ", client.requester());
        answer_with(client, service_.restart());
    } else if (requested == kind::update) {
        log_line("BIOS update requested by ", client.requester());
        answer_with(client, service_.update(client.requester()));
    } else if (requested == kind::plan_update) {
        answer_with(client, service_.plan_update());
    } else if (requested == kind::pending_version) {
        client.answer(0, service_.pending_version(), clock::now());
    } else {
        client.refuse(service_status::not_supported, "unknown request", clock::now());
    }
}

void request_exchange::run(client_connection& client) {
    dp_support::checked_istringstream text(client.take_text());
    dp_support::checked_ostringstream answer;
    batch_observer observer;
    observer.client = client.requester();
    observer.on_progress = [&](std::uint32_t done, std::uint32_t total) {
        client.report_progress(done, total, clock::now());
        socket_.exchange(true);
    };
    service_.take_dependent_lines();
    run_batch_text(text, service_.registrar(), answer, observer);
    if (const std::string lines = service_.take_dependent_lines(); !lines.empty()) {
        client.report_dependent(lines, clock::now());
    }
    client.answer(0, std::move(answer).str(), clock::now());
}

}  // namespace dp_host
