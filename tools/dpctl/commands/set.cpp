#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <iostream>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "tools/dpctl/changes/change_outcome.hpp"
#include "tools/dpctl/changes/service_exchange.hpp"
#include "tools/dpctl/changes/wait_notice.hpp"
#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/names/name_lookup.hpp"
#include "tools/dpctl/output/printable_text.hpp"
#include "tools/dpctl/status/status_reason.hpp"
#include "tools/dpctl/values/setting_values.hpp"
#include "tools/dpctl/values/value_check.hpp"
#include "transactions/command_status.hpp"

namespace dpctl {
namespace {

using dp_support::command_line;
using dp_support::json_value;

// A NAME=VALUE of the command line, and what became of it.
struct requested_change {
    setting_ref setting;
    std::string name;
    std::string value;
    setting_values before;
    reading after;
    std::uint32_t status = session::unanswered;
    change_outcome outcome = change_outcome::already;
};

std::string why_not_an_assignment(const std::string& text) {
    const std::size_t equals = text.find('=');
    return equals == std::string::npos || equals == 0 ? in_quotes(text) + " is not NAME=VALUE"
                                                      : std::string();
}

// Why the change cannot be requested; empty if it can.
std::string why_impossible(const requested_change& change) {
    const auto name_reason = why_not_encodable(change.name, text_part::name);
    if (!name_reason.empty()) {
        return "the name " + name_reason;
    }
    const auto value_reason = why_not_encodable(change.value, text_part::value);
    if (!value_reason.empty()) {
        return "the value " + in_quotes(change.value) + ' ' + value_reason;
    }
    if (change.setting.instance.empty() &&
        change.setting.collection->has_only_instances(*change.setting.attribute)) {
        const auto instances = change.setting.all();
        return "it has " + std::to_string(instances.size()) +
               " instances; name one of them, for example " + instances.front().name();
    }
    return {};
}

// Finds the settings. Each one that is not found or cannot be changed is reported.
std::vector<requested_change> plan(catalog& names, const std::vector<std::string>& assignments,
                                   report& rep) {
    std::vector<requested_change> changes;
    std::unordered_set<std::string> seen;
    for (const auto& assignment : assignments) {
        const std::size_t equals = assignment.find('=');
        const auto setting = find_setting(names, assignment.substr(0, equals), rep);
        if (!setting) {
            continue;
        }
        requested_change change;
        change.setting = *setting;
        change.name = setting->name();
        change.value = assignment.substr(equals + 1);
        std::string reason = why_impossible(change);
        if (!seen.insert(change.name).second) {
            reason = "it is given twice";
        }
        if (!reason.empty()) {
            rep.problem(change.name + ": " + reason);
            continue;
        }
        changes.push_back(std::move(change));
    }
    return changes;
}

void read_before(session& service, std::vector<requested_change>& changes) {
    std::vector<std::string> names;
    names.reserve(changes.size());
    for (const auto& change : changes) {
        names.push_back(change.name);
    }
    auto values = read_values(service, names);
    for (std::size_t i = 0; i < changes.size(); ++i) {
        changes[i].before = std::move(values[i]);
        changes[i].after = changes[i].before.pending;
    }
}

// Checks the changes against the limits that the template has. False if the service would refuse
// one of them; then none is requested.
bool are_within_limits(const std::vector<requested_change*>& changes) {
    bool all = true;
    for (auto* const change : changes) {
        const std::int32_t status =
            check_value(*change->setting.attribute, change->setting.instance, change->value);
        change->outcome = change_outcome::not_requested;
        if (status != dp::command_status::success) {
            change->status = static_cast<std::uint32_t>(status);
            change->outcome = change_outcome::refused;
            all = false;
        }
    }
    return all;
}

// Requests the changes from the service, as one batch. The result is that of the C API.
int carry_out(session& service, const std::vector<requested_change*>& changes, double& seconds,
              report& rep) {
    std::vector<change_request> requests;
    std::vector<std::string> names;
    for (const auto* const change : changes) {
        requests.push_back({change->name, change->value, session::unanswered});
        names.push_back(change->name);
    }
    int result = 0;
    {
        dp_service::exchange_lock lock;
        acquire(lock, rep);
        const wait_notice notice(std::cerr, isatty(STDERR_FILENO) == 1, waiting_for_service);
        result = service.set(requests);
        seconds = notice.seconds();
    }
    auto after = service.read(names, values_of::pending);
    for (std::size_t i = 0; i < changes.size(); ++i) {
        requested_change& change = *changes[i];
        change.status = requests[i].status;
        change.after = std::move(after[i]);
        change.outcome = judge_change(result, change.status, change.before.pending, change.after,
                                      change.value, *change.setting.attribute);
    }
    return result;
}

// The outcome of the change, for a person.
std::string describe(const requested_change& change, const file_names& files) {
    switch (change.outcome) {
        case change_outcome::already:
            return "is already " + value_text(change.after);
        case change_outcome::changed: {
            std::string text =
                value_text(change.before.pending) + " -> " + value_text(change.after);
            if (!is_value(change.after, change.value, *change.setting.attribute)) {
                text += " (requested: " + in_quotes(change.value) + ')';
            }
            return text + (change.after == change.before.current
                               ? ", same as the current value"
                               : ", pending until the server restarts");
        }
        case change_outcome::refused:
            return explain_status(change.status, change.setting.attribute, change.value);
        case change_outcome::no_answer:
            return "the settings service did not answer";
        case change_outcome::not_requested:
            return "was not requested, because another setting cannot be changed";
        case change_outcome::unconfirmed:
            break;
    }
    return "the settings service reported no failure, but the pending value in " + files.settings +
           " is still " + value_text(change.after);
}

json_value to_json(const requested_change& change, const std::string& message) {
    auto result = json_value::object({{"name", change.name},
                                      {"requested", change.value},
                                      {"outcome", outcome_word(change.outcome)},
                                      {"message", message},
                                      {"previous", value_json(change.before.pending)},
                                      {"pending", value_json(change.after)},
                                      {"current", value_json(change.before.current)},
                                      {"truncated", change.before.pending.cut || change.after.cut ||
                                                        change.before.current.cut}});
    if (change.outcome == change_outcome::refused) {
        result.set("status", change.status);
    }
    return result;
}

void report_outcome(const requested_change& change, const std::string& message, report& rep) {
    switch (change.outcome) {
        case change_outcome::already:
            rep.line(change.name + ' ' + message);
            break;
        case change_outcome::changed:
            rep.line(change.name + ": " + message);
            break;
        case change_outcome::no_answer:
        case change_outcome::not_requested:
            break;  // reported once for all changes
        case change_outcome::refused:
        case change_outcome::unconfirmed:
            rep.problem(change.name + ": " + message);
            break;
    }
}

void run(const file_names& files, const std::vector<std::string>& assignments, report& rep) {
    session service(files, rep);
    catalog names(service);
    if (!have_collections(names, service, rep)) {
        return;
    }
    auto changes = plan(names, assignments, rep);
    if (rep.failed()) {
        rep.hint("Nothing was changed.");
        return;
    }

    read_before(service, changes);
    std::vector<requested_change*> needed;
    for (auto& change : changes) {
        // Only the same text counts: the service may distinguish spellings that are equal here.
        if (change.before.pending != reading{true, false, change.value}) {
            needed.push_back(&change);
        }
    }
    const bool is_possible = are_within_limits(needed);
    double seconds = 0;
    if (is_possible && !needed.empty()) {
        if (!can_send_requests(rep)) {
            rep.hint("Nothing was changed.");
            return;
        }
        if (carry_out(service, needed, seconds, rep) == -1) {
            report_no_answer(rep, seconds);
        }
    }

    rep.document().set("waited_seconds", seconds);
    auto& list = rep.document().set("settings", json_value::array());
    for (const auto& change : changes) {
        const std::string message = describe(change, service.files());
        list.push_back(to_json(change, message));
        report_outcome(change, message, rep);
    }
    if (!is_possible) {
        rep.hint("Nothing was changed.");
    }
}

}  // namespace

void add_set(command_line& program, invocation& request) {
    auto& command = add_command(
        program, request, "set",
        {.summary = "Change settings, several in one batch",
         .details =
             std::string(name_help) +
             "The new values are pending until the server restarts.\n"
             "A value may be empty and may contain every character except a newline. If one of\n"
             "the arguments is wrong, or the template does not allow one of the values, no\n"
             "request is sent.\n"
             "A setting that already has the value is reported and is not a failure. dpctl\n"
             "waits about 60 seconds for the answer of the settings service.\n",
         .examples = {"dpctl set Boot.BootMode=UEFI", "dpctl set BootMode=UEFI \"AssetTag=Rack 7\"",
                      "dpctl set Boot.BootMode=UEFI --json"}});
    const auto assignments = std::make_shared<std::vector<std::string>>();
    command.add_option("NAME=VALUE", *assignments, "Names of settings and their new values",
                       {.required = true, .check = why_not_an_assignment});
    add_file_options(command, request);
    command.on_selected([&request, assignments] {
        request.run = [&request, assignments](report& rep) {
            run(request.files, *assignments, rep);
        };
    });
}

}  // namespace dpctl
