#include "tools/dpctl/changes/server_restart.hpp"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <string>
#include <thread>

#include "service_api/settings_client.hpp"
#include "support/terminal.hpp"
#include "tools/dpctl/changes/change_outcome.hpp"
#include "tools/dpctl/changes/change_request.hpp"
#include "tools/dpctl/changes/plan_execution.hpp"
#include "tools/dpctl/changes/wait_notice.hpp"
#include "tools/dpctl/output/report.hpp"

namespace dpctl {
namespace {

using std::chrono::steady_clock;

// Reads the values again. Whether all pending ones are current.
bool are_current(session& service, change_plan& plan) {
    read_back(service, plan);
    return std::all_of(plan.changes.begin(), plan.changes.end(), [](const planned_change& planned) {
        return is_stored_value(planned.current, planned.pending);
    });
}

}  // namespace

void restart_server(session& service, change_plan& plan, report& rep) {
    constexpr std::chrono::milliseconds pause{200};
    constexpr std::chrono::seconds longest_wait{60};
    bool is_done = false;
    {
        const wait_notice notice(std::cerr, dp_support::terminal_of(STDERR_FILENO),
                                 "waiting for the server to restart", wait_notice::usual_delay);
        dp_service::settings_client client;
        const auto answer = client.restart();
        rep.document().set(
            "restarted",
            answer.state == dp_service::settings_client::states::answered && answer.status == 0);
        if (!answer.reason.empty()) {
            rep.problem("the server was not restarted: " + request_problem(client, answer));
            return;
        }
        const auto end = steady_clock::now() + longest_wait;
        while (!(is_done = are_current(service, plan)) && steady_clock::now() < end) {
            std::this_thread::sleep_for(pause);
        }
    }
    if (is_done) {
        rep.line("The server was restarted; the values are current.");
    } else {
        rep.problem("the server was restarted, but not all values are current after " +
                    std::to_string(longest_wait.count()) + " s");
    }
}

}  // namespace dpctl
