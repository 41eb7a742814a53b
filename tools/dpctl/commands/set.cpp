#include <unistd.h>

#include <cstddef>
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "tools/dpctl/changes/change_outcome.hpp"
#include "tools/dpctl/changes/exchange.hpp"
#include "tools/dpctl/changes/setting_values.hpp"
#include "tools/dpctl/changes/wait_notice.hpp"
#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/names/known_names.hpp"
#include "tools/dpctl/output/attribute_text.hpp"
#include "tools/dpctl/output/text.hpp"
#include "tools/dpctl/status/status_text.hpp"

namespace dpctl {
namespace {

// One NAME=VALUE, on its way.
struct change {
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

// Why the change can't be asked for; empty when it can.
std::string why_impossible(const change& one) {
    const auto name_reason = why_not_carried(one.name, false);
    if (!name_reason.empty()) {
        return "its name " + name_reason;
    }
    const auto value_reason = why_not_carried(one.value, true);
    if (!value_reason.empty()) {
        return "the value " + in_quotes(one.value) + ' ' + value_reason;
    }
    if (one.setting.instance.empty() &&
        one.setting.collection->has_only_instances(*one.setting.attribute)) {
        const auto instances = one.setting.all();
        return "it has " + std::to_string(instances.size()) + " instances; name one of them, as " +
               instances.front().name();
    }
    return {};
}

// Finds the settings; every one that is not found or can't be changed is reported.
std::vector<change> plan(catalog& names, const std::vector<std::string>& assignments, report& rep) {
    std::vector<change> changes;
    std::unordered_set<std::string> seen;
    for (const auto& assignment : assignments) {
        const std::size_t equals = assignment.find('=');
        const auto setting = find_setting(names, assignment.substr(0, equals), rep);
        if (!setting) {
            continue;
        }
        change one;
        one.setting = *setting;
        one.name = setting->name();
        one.value = assignment.substr(equals + 1);
        std::string reason = why_impossible(one);
        if (!seen.insert(one.name).second) {
            reason = "it is named twice";
        }
        if (!reason.empty()) {
            rep.problem(one.name + ": " + reason);
            continue;
        }
        changes.push_back(std::move(one));
    }
    return changes;
}

void read_before(session& service, std::vector<change>& changes) {
    std::vector<std::string> names;
    names.reserve(changes.size());
    for (const auto& one : changes) {
        names.push_back(one.name);
    }
    auto values = read_values(service, names);
    for (std::size_t i = 0; i < changes.size(); ++i) {
        changes[i].before = std::move(values[i]);
        changes[i].after = changes[i].before.pending;
    }
}

// Asks the service for the changes, as one batch. The result is that of the C API.
int carry_out(session& service, const std::vector<change*>& asked, double& seconds, report& rep) {
    std::vector<change_request> requests;
    std::vector<std::string> names;
    for (const change* const one : asked) {
        requests.push_back({one->name, one->value, session::unanswered});
        names.push_back(one->name);
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
    for (std::size_t i = 0; i < asked.size(); ++i) {
        change& one = *asked[i];
        one.status = requests[i].status;
        one.after = std::move(after[i]);
        one.outcome = judge_change(result, one.status, one.before.pending, one.after, one.value,
                                   *one.setting.attribute);
    }
    return result;
}

// What became of the change, for a person.
std::string describe(const change& one, const file_names& files) {
    switch (one.outcome) {
        case change_outcome::already:
            return value_text(one.after) + " stands already; nothing to do";
        case change_outcome::changed: {
            std::string text = value_text(one.before.pending) + " -> " + value_text(one.after);
            if (!is_value(one.after, one.value, *one.setting.attribute)) {
                text += " (asked for " + in_quotes(one.value) + ')';
            }
            return text + (one.after == one.before.current ? ", as in force now"
                                                           : ", pending until the server restarts");
        }
        case change_outcome::refused:
            return explain_status(one.status, one.setting.attribute, one.value);
        case change_outcome::no_answer:
            return "the settings service did not answer";
        case change_outcome::unconfirmed:
            break;
    }
    return "the settings service reported no failure, but " + files.settings + " still says " +
           value_text(one.after);
}

nlohmann::ordered_json to_json(const change& one, const std::string& message) {
    nlohmann::ordered_json result = {
        {"name", one.name},
        {"requested", one.value},
        {"outcome", outcome_word(one.outcome)},
        {"message", message},
        {"previous", value_json(one.before.pending)},
        {"pending", value_json(one.after)},
        {"current", value_json(one.before.current)},
        {"truncated", one.before.pending.cut || one.after.cut || one.before.current.cut}};
    if (one.outcome == change_outcome::refused) {
        result["status"] = one.status;
    }
    return result;
}

void run(const file_names& files, const std::vector<std::string>& assignments, report& rep) {
    session service(files);
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
    std::vector<change*> asked;
    for (auto& one : changes) {
        // Only the very text: a service may tell spellings apart that look the same here.
        if (one.before.pending != reading{true, false, one.value}) {
            asked.push_back(&one);
        }
    }
    double seconds = 0;
    if (!asked.empty()) {
        if (!can_exchange(rep)) {
            rep.hint("Nothing was changed.");
            return;
        }
        if (carry_out(service, asked, seconds, rep) == -1) {
            report_no_answer(rep, seconds);
        }
    }

    rep.document()["waited_seconds"] = seconds;
    auto& list = rep.document()["settings"] = nlohmann::ordered_json::array();
    for (const auto& one : changes) {
        const std::string message = describe(one, service.files());
        list.push_back(to_json(one, message));
        if (one.outcome == change_outcome::already || one.outcome == change_outcome::changed) {
            rep.line(one.name + ": " + message);
        } else if (one.outcome != change_outcome::no_answer) {
            rep.problem(one.name + ": " + message);
        }
    }
}

}  // namespace

void add_set(CLI::App& app, job& what) {
    auto& command =
        add_command(app, what, "set", "Change settings, several in one batch",
                    {"dpctl set Boot.BootMode=UEFI", "dpctl set BootMode=UEFI \"AssetTag=Rack 7\"",
                     "dpctl set Boot.BootMode=UEFI --json"});
    add_help(
        command,
        std::string(name_help) +
            "The new values are pending until the server restarts.\n"
            "A value may be empty and may hold blanks; double quotes, backslashes and control\n"
            "characters can't be passed on and are refused. If one of the arguments is wrong,\n"
            "nothing is asked for. Settings that have the value already are left alone: this is\n"
            "said, and is no failure. The answer of the settings service is awaited for about\n"
            "60 seconds.\n");
    const auto assignments = std::make_shared<std::vector<std::string>>();
    command.add_option("NAME=VALUE", *assignments, "Names of settings and their new values")
        ->type_name("")
        ->required()
        ->check(CLI::Validator(why_not_an_assignment, "", "assignment"));
    add_file_options(command, what);
    command.callback([&what, assignments] {
        what.run = [&what, assignments](report& rep) { run(what.files, *assignments, rep); };
    });
}

}  // namespace dpctl
