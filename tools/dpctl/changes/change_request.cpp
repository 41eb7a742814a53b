#include "tools/dpctl/changes/change_request.hpp"

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <iostream>
#include <utility>

#include "common/quoting.hpp"
#include "service_api/service_status.hpp"
#include "support/terminal.hpp"
#include "tools/dpctl/changes/wait_notice.hpp"
#include "tools/dpctl/output/printable_text.hpp"
#include "tools/dpctl/output/report.hpp"
#include "tools/dpctl/status/status_reason.hpp"
#include "tools/dpctl/system/denied_access.hpp"
#include "tools/dpctl/system/signal_wait.hpp"

namespace dpctl {
namespace {

using dp_service::settings_client;

// The service reads lines of at most 64 KiB; a part is for the words before the name.
constexpr std::size_t longest_name_and_value = std::size_t{63} * 1024;

std::string position_text(std::uint32_t ahead) {
    return "waiting: " +
           (ahead == 1 ? "1 request of another client is"
                       : std::to_string(ahead) + " requests of other clients are") +
           " ahead";
}

using command_list = std::vector<settings_client::change>;

command_list commands_of(const std::vector<setting_change*>& changes) {
    command_list list;
    list.reserve(changes.size());
    for (const auto* const change : changes) {
        list.push_back({change->name, change->value, change->operation});
    }
    return list;
}

void take_answer(settings_client::change& made, setting_change& change) {
    change.status = made.status;
    if (made.status != dp::command_status::success) {
        change.reason = std::move(made.reason);
    } else if (change.operation != dp::op_delete) {
        change.stored = {true, false, std::move(made.stored)};
    }
}

// Requests the changes on the condition that the pending values are still those that were read.
settings_client::result request_if_unchanged(settings_client& client,
                                             const std::vector<setting_change*>& changes,
                                             const std::string& planned_on) {
    command_list list = commands_of(changes);
    auto answer = client.change_settings(list, planned_on);
    for (std::size_t i = 0; i < changes.size(); ++i) {
        take_answer(list[i], *changes[i]);
    }
    return answer;
}

// Requests the changes, each after a read of the setting in the same batch.
settings_client::result request_with_reads(settings_client& client,
                                           const std::vector<setting_change*>& changes) {
    command_list list;
    list.reserve(2 * changes.size());
    for (auto& command : commands_of(changes)) {
        list.push_back({command.name, {}, dp::op_get});
        list.push_back(std::move(command));
    }
    auto answer = client.change_settings(list);
    for (std::size_t i = 0; i < changes.size(); ++i) {
        auto& read = list[2 * i];
        setting_change& change = *changes[i];
        take_answer(list[2 * i + 1], change);
        if (read.status == dp::command_status::success) {
            change.replaced = {true, false, std::move(read.stored)};
        } else if (change.status == dp::command_status::success) {
            change.replaced = {};  // it had no value
        }
    }
    return answer;
}

bool was_changed_meanwhile(const settings_client::result& answer) {
    return answer.state == settings_client::states::refused &&
           answer.status == dp_service::service_status::pending_changed;
}

}  // namespace

const char* request_end::word() const {
    switch (state) {
        case settings_client::states::answered:
            return "answered";
        case settings_client::states::refused:
            return "refused";
        case settings_client::states::withdrawn:
            return "withdrawn";
        case settings_client::states::no_service:
            return "no_service";
        case settings_client::states::unanswered:
            break;
    }
    return "unanswered";
}

std::string request_problem(const settings_client& client, const settings_client::result& answer) {
    if (answer.state == settings_client::states::no_service) {
        if (const auto reason = why_connection_denied(client.socket_path); !reason.empty()) {
            return "cannot use the settings service: " + client.socket_path + ": " + reason;
        }
    }
    return answer.reason;
}

std::string why_not_requestable(const setting_change& change) {
    if (const auto reason = why_not_encodable(change.name, text_part::name); !reason.empty()) {
        return "the name " + reason;
    }
    if (const auto reason = why_not_encodable(change.value, text_part::value); !reason.empty()) {
        return "the value " + in_quotes(change.value) + ' ' + reason;
    }
    if (change.name.size() + dp::add_backslash(change.value).size() > longest_name_and_value) {
        return "the value is longer than a request to the settings service can contain";
    }
    return {};
}

request_end request_changes(const std::vector<setting_change*>& changes,
                            const std::string& planned_on, when_changed otherwise, report& rep) {
    request_end end;
    settings_client::result answer;
    std::string problem;
    bool is_interrupted = false;
    {
        signal_wait signals(STDOUT_FILENO);
        wait_notice notice(std::cerr, dp_support::terminal_of(STDERR_FILENO),
                           "waiting for the settings service", wait_notice::usual_delay);
        settings_client client;
        client.cancel_descriptor = signals.descriptor();
        client.on_waiting = [&](std::uint32_t ahead) {
            if (ahead > 0) {
                notice.announce(position_text(ahead));
            }
        };
        client.on_start = [&] { notice.update("the settings service makes the changes"); };
        client.on_progress = [&](std::uint32_t done, std::uint32_t total) {
            notice.progress(done, total);
        };
        // A request that reads what it changes needs no condition.
        const bool is_conditional = !planned_on.empty();
        if (is_conditional) {
            answer = request_if_unchanged(client, changes, planned_on);
        }
        if (!is_conditional ||
            (otherwise == when_changed::request && was_changed_meanwhile(answer))) {
            answer = request_with_reads(client, changes);
        }
        end.state = answer.state;
        problem = request_problem(client, answer);
        end.dependent = std::move(answer.dependent);
        end.seconds = notice.seconds();
        is_interrupted = signals.is_stopped();
    }
    rep.document().set("request", end.word());
    rep.document().set("waited_seconds", end.seconds);
    if (!end.is_answered()) {
        rep.problem(problem);
        if (end.is_dropped() && end.state != settings_client::states::withdrawn) {
            rep.hint("Nothing was changed.");
        }
    }
    if (is_interrupted && !end.is_dropped()) {
        rep.note("interrupted after the settings service had started the request; it was finished");
    }
    return end;
}

}  // namespace dpctl
