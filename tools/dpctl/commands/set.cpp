#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "tools/dpctl/changes/change_outcome.hpp"
#include "tools/dpctl/changes/change_request.hpp"
#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/names/name_lookup.hpp"
#include "tools/dpctl/output/printable_text.hpp"
#include "tools/dpctl/status/status_reason.hpp"
#include "tools/dpctl/values/attribute_copy.hpp"
#include "tools/dpctl/values/setting_values.hpp"
#include "tools/dpctl/values/value_check.hpp"
#include "transactions/command_status.hpp"

namespace dpctl {
namespace {

using dp_support::command_line;
using dp_support::json_value;

// A NAME=VALUE of the command line, and what became of it.
struct requested_change {
    setting_change change;
    std::string instance;
    std::shared_ptr<const attribute_copy> copy;
    reading current;
    reading pending;  // now
    change_outcome outcome = change_outcome::already;

    [[nodiscard]] const std::string& name() const { return change.name; }
    [[nodiscard]] const dp_attribute& attribute() const { return copy->get(); }
};

std::string why_not_an_assignment(const std::string& text) {
    const std::size_t equals = text.find('=');
    return equals == std::string::npos || equals == 0 ? in_quotes(text) + " is not NAME=VALUE"
                                                      : std::string();
}

// Why the setting cannot be changed; empty if it can.
std::string why_impossible(const setting_ref& setting, const setting_change& change) {
    if (setting.instance.empty() && setting.collection->has_only_instances(*setting.attribute)) {
        const auto instances = setting.all();
        return "it has " + std::to_string(instances.size()) +
               " instances; name one of them, for example " + instances.front().name();
    }
    return why_not_requestable(change);
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
        requested_change requested;
        requested.change.name = setting->name();
        requested.change.value = assignment.substr(equals + 1);
        requested.instance = setting->instance;
        requested.copy = std::make_shared<attribute_copy>(*setting->attribute);
        std::string reason = why_impossible(*setting, requested.change);
        if (!seen.insert(requested.name()).second) {
            reason = "it is given twice";
        }
        if (!reason.empty()) {
            rep.problem(requested.name() + ": " + reason);
            continue;
        }
        changes.push_back(std::move(requested));
    }
    return changes;
}

std::vector<std::string> names_of(const std::vector<requested_change>& changes) {
    std::vector<std::string> names;
    names.reserve(changes.size());
    for (const auto& requested : changes) {
        names.push_back(requested.name());
    }
    return names;
}

void read_before(session& service, std::vector<requested_change>& changes) {
    auto values = read_values(service, names_of(changes));
    for (std::size_t i = 0; i < changes.size(); ++i) {
        changes[i].pending = values[i].pending;
        changes[i].change.replaced = std::move(values[i].pending);
        changes[i].current = std::move(values[i].current);
    }
}

void read_after(session& service, std::vector<requested_change>& changes) {
    service.reinitialize();
    auto values = service.read(names_of(changes), values_of::pending);
    for (std::size_t i = 0; i < changes.size(); ++i) {
        changes[i].pending = std::move(values[i]);
    }
}

// Checks the changes against the limits that the template has. False if the service would refuse
// one of them; then none is requested.
bool are_within_limits(const std::vector<requested_change*>& changes) {
    bool all = true;
    for (auto* const requested : changes) {
        setting_change& change = requested->change;
        requested->outcome = change_outcome::not_requested;
        const std::int32_t status =
            check_value(requested->attribute(), requested->instance, change.value);
        if (status != dp::command_status::success) {
            change.status = status;
            requested->outcome = change_outcome::refused;
            all = false;
        }
    }
    return all;
}

// Requests the `needed` ones of `changes` from the service.
void carry_out(session& service, std::vector<requested_change>& changes,
               const std::vector<requested_change*>& needed, const std::string& planned_on,
               report& rep) {
    std::vector<setting_change*> sent;
    sent.reserve(needed.size());
    for (auto* const requested : needed) {
        sent.push_back(&requested->change);
    }
    const request_end end = request_changes(sent, planned_on, rep);
    if (end.is_dropped()) {
        return;
    }
    read_after(service, changes);
    for (auto* const requested : needed) {
        requested->outcome = end.is_answered() ? judge_change(requested->change, requested->pending)
                                               : change_outcome::no_answer;
    }
}

// The outcome of the change, for a person.
std::string describe_change(const requested_change& requested, const file_names& files) {
    const setting_change& change = requested.change;
    switch (requested.outcome) {
        case change_outcome::already:
            return "is already " +
                   value_text(change.stored.known ? change.stored : requested.pending);
        case change_outcome::changed: {
            std::string text = value_text(change.replaced) + " -> " + value_text(change.stored);
            if (!is_value(change.stored, change.value, requested.attribute())) {
                text += " (requested: " + in_quotes(change.value) + ')';
            }
            return text + (is_stored_value(requested.current, change.stored)
                               ? ", same as the current value"
                               : ", pending until the server restarts");
        }
        case change_outcome::refused:
            return explain_status(static_cast<std::uint32_t>(change.status), &requested.attribute(),
                                  change.value);
        case change_outcome::no_answer:
            return "the settings service did not answer; the pending value is now " +
                   value_text(requested.pending);
        case change_outcome::not_requested:
            return "was not changed";
        case change_outcome::unconfirmed:
            break;
    }
    return "the settings service made the change, but the pending value in " + files.settings +
           " is still " + value_text(requested.pending);
}

json_value to_json(const requested_change& requested, const std::string& message) {
    const setting_change& change = requested.change;
    auto result = json_value::object(
        {{"name", change.name},
         {"requested", change.value},
         {"outcome", outcome_word(requested.outcome)},
         {"message", message},
         {"previous", value_json(change.replaced)},
         {"pending", value_json(requested.pending)},
         {"current", value_json(requested.current)},
         {"truncated", change.replaced.cut || requested.pending.cut || requested.current.cut}});
    if (requested.outcome == change_outcome::refused) {
        result.set("status", change.status);
    }
    return result;
}

void report_outcome(const requested_change& requested, const std::string& message, report& rep) {
    switch (requested.outcome) {
        case change_outcome::already:
            rep.line(requested.name() + ' ' + message);
            break;
        case change_outcome::changed:
            rep.line(requested.name() + ": " + message);
            if (!is_stored_value(requested.pending, requested.change.stored)) {
                rep.note(requested.name() + ": was changed again meanwhile, to " +
                         value_text(requested.pending));
            }
            break;
        case change_outcome::not_requested:
            break;  // reported once for all changes
        case change_outcome::no_answer:
            rep.note(requested.name() + ": " + message);
            break;
        case change_outcome::refused:
        case change_outcome::unconfirmed:
            rep.problem(requested.name() + ": " + message);
            break;
    }
}

void run_set(const file_names& files, const std::vector<std::string>& assignments, report& rep) {
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

    const std::string version = service.pending_version();
    read_before(service, changes);
    std::vector<requested_change*> needed;
    for (auto& requested : changes) {
        // Only the same text counts: the service may distinguish spellings that are equal here.
        if (requested.pending != reading{true, false, requested.change.value}) {
            needed.push_back(&requested);
        }
    }
    rep.document().set("waited_seconds", 0);
    const bool is_possible = are_within_limits(needed);
    if (is_possible && !needed.empty()) {
        carry_out(service, changes, needed, version, rep);
    }

    auto& list = rep.document().set("settings", json_value::array());
    for (const auto& requested : changes) {
        const std::string message = describe_change(requested, service.files());
        list.push_back(to_json(requested, message));
        report_outcome(requested, message, rep);
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
             "request is sent. A setting that already has the value is reported and is not a\n"
             "failure.\n"
             "The settings service makes one change after another; dpctl reports how many\n"
             "requests are ahead, and waits at most 60 seconds for its turn and for the answer.\n"
             "Ctrl-C withdraws a request that has not started; it does not stop one that has.\n",
         .examples = {"dpctl set Boot.BootMode=UEFI", "dpctl set BootMode=UEFI \"AssetTag=Rack 7\"",
                      "dpctl set Boot.BootMode=UEFI --json"}});
    const auto assignments = std::make_shared<std::vector<std::string>>();
    command.add_option("NAME=VALUE", *assignments, "Names of settings and their new values",
                       {.required = true, .check = why_not_an_assignment});
    add_file_options(command, request);
    command.on_selected([&request, assignments] {
        request.run = [&request, assignments](report& rep) {
            run_set(request.files, *assignments, rep);
        };
    });
}

}  // namespace dpctl
