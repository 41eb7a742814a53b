#include "tools/dpctl/changes/server_restart.hpp"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <iostream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "service_api/settings_client.hpp"
#include "support/terminal.hpp"
#include "tools/dpctl/changes/change_outcome.hpp"
#include "tools/dpctl/changes/wait_notice.hpp"
#include "tools/dpctl/output/report.hpp"
#include "tools/dpctl/values/setting_values.hpp"

namespace dpctl {
namespace {

using std::chrono::steady_clock;

// Reads the values again. Whether all pending ones are current.
bool are_current(session& service, change_plan& plan) {
    std::vector<std::string> names;
    names.reserve(plan.changes.size());
    for (const auto& planned : plan.changes) {
        names.push_back(planned.name());
    }
    service.reinitialize();
    auto values = read_values(service, names);
    bool all = true;
    for (std::size_t i = 0; i < plan.changes.size(); ++i) {
        all = all && is_stored_value(values[i].current, values[i].pending);
        plan.changes[i].pending = std::move(values[i].pending);
        plan.changes[i].current = std::move(values[i].current);
    }
    return all;
}

}  // namespace

void restart_server(session& service, change_plan& plan, report& rep) {
    constexpr std::chrono::milliseconds pause{200};
    constexpr std::chrono::seconds longest_wait{60};
    bool is_done = false;
    {
        const wait_notice notice(std::cerr, dp_support::terminal_of(STDERR_FILENO),
                                 "waiting for the server to restart", wait_notice::usual_delay);
        const auto answer = dp_service::settings_client().restart();
        rep.document().set(
            "restarted",
            answer.state == dp_service::settings_client::states::answered && answer.status == 0);
        if (!answer.reason.empty()) {
            rep.problem("the server was not restarted: " + answer.reason);
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
