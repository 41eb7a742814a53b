#include <unistd.h>

#include <cstddef>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "tools/dpctl/changes/change_outcome.hpp"
#include "tools/dpctl/changes/service_exchange.hpp"
#include "tools/dpctl/changes/wait_notice.hpp"
#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/names/name_lookup.hpp"
#include "tools/dpctl/values/attribute_description.hpp"
#include "tools/dpctl/values/setting_values.hpp"

namespace dpctl {
namespace {

using dp_support::command_line;
using dp_support::json_value;

// A setting that did not have its default before the reset, or does not have it now.
struct affected_setting {
    setting_ref setting;
    reading before;
    reading after;
};

bool is_at_default(const reading& value, const dp_attribute& attribute) {
    return is_removed_by_default(attribute) ? !value.known
                                            : is_value(value, attribute.dft, attribute);
}

std::string default_text(const dp_attribute& attribute) {
    return is_removed_by_default(attribute) ? "-" : value_text({true, false, attribute.dft});
}

// Reports what happened to the setting. Returns the outcome for programs.
const char* report_outcome(const affected_setting& affected, bool answered, report& rep) {
    const dp_attribute& attribute = *affected.setting.attribute;
    const std::string name = affected.setting.name();
    const std::string its_default = " (default: " + default_text(attribute) + ')';
    if (is_at_default(affected.after, attribute)) {
        rep.line(name + ": " + value_text(affected.before) + " -> " + value_text(affected.after));
        return "changed";
    }
    if (is_read_only(attribute)) {
        rep.line(name + ": remains " + value_text(affected.after) + ", it is read-only" +
                 its_default);
        return "read_only";
    }
    if (!answered) {
        return "no_answer";
    }
    rep.problem(name + ": the settings service did not reset it, it is still " +
                value_text(affected.after) + its_default);
    return "refused";
}

void report_outcomes(const std::vector<affected_setting>& settings, bool answered, report& rep) {
    auto& list = rep.document().set("settings", json_value::array());
    std::size_t changed = 0;
    for (const auto& affected : settings) {
        const dp_attribute& attribute = *affected.setting.attribute;
        changed += is_at_default(affected.after, attribute) ? 1U : 0U;
        list.push_back(
            json_value::object({{"name", affected.setting.name()},
                                {"outcome", report_outcome(affected, answered, rep)},
                                {"default", default_json(attribute)},
                                {"previous", value_json(affected.before)},
                                {"pending", value_json(affected.after)},
                                {"truncated", affected.before.cut || affected.after.cut}}));
    }
    if (changed != 0) {
        rep.line(std::to_string(changed) + (changed == 1 ? " setting was" : " settings were") +
                 " reset to the default, pending until the server restarts.");
    }
}

void run(const file_names& files, const std::string& collection, report& rep) {
    session service(files, rep);
    catalog names(service);
    const auto* const view = find_collection(names, service, collection, rep);
    if (view == nullptr) {
        return;
    }
    const auto settings = view->settings_with_values();
    if (settings.empty()) {
        rep.problem("there is nothing to reset: " + service.files().settings +
                    " has no values of collection " + collection);
        return;
    }

    rep.document().set("collection", collection);
    const auto setting_names = names_of(settings);
    auto before = service.read(setting_names, values_of::pending);
    bool is_needed = false;
    for (std::size_t i = 0; i < settings.size(); ++i) {
        is_needed |= !is_read_only(*settings[i].attribute) &&
                     !is_at_default(before[i], *settings[i].attribute);
    }
    double seconds = 0;
    bool answered = true;
    if (is_needed) {
        if (!can_send_requests(rep)) {
            rep.hint("Nothing was changed.");
            return;
        }
        dp_service::exchange_lock lock;
        acquire(lock, rep);
        const wait_notice notice(std::cerr, isatty(STDERR_FILENO) == 1, waiting_for_service);
        // The result is 3 even if only read-only settings were refused, and it does not say which
        // commands failed: the settings file decides.
        answered = service.reset(collection) == 0 || has_answer();
        seconds = notice.seconds();
    }
    rep.document().set("waited_seconds", seconds);
    if (!answered) {
        report_no_answer(rep, seconds);
    }
    auto after = service.read(setting_names, values_of::pending);
    std::vector<affected_setting> affected;
    for (std::size_t i = 0; i < settings.size(); ++i) {
        const dp_attribute& attribute = *settings[i].attribute;
        if (!is_at_default(before[i], attribute) || !is_at_default(after[i], attribute)) {
            affected.push_back({settings[i], std::move(before[i]), std::move(after[i])});
        }
    }
    if (!is_needed) {
        rep.line("All settings of " + collection +
                 " that can be changed already have their default values.");
    }
    report_outcomes(affected, answered, rep);
}

}  // namespace

void add_reset(command_line& program, invocation& request) {
    auto& command = add_command(
        program, request, "reset",
        {.summary = "Set the settings of a collection to their defaults",
         .details =
             "The defaults are pending until the server restarts. Read-only settings are not\n"
             "changed, which is not a failure. If every other setting already has its default,\n"
             "no request is sent, which is not a failure either. dpctl waits about 60 seconds\n"
             "for the answer of the settings service.\n",
         .examples = {"dpctl reset Boot", "dpctl reset Boot --json"}});
    const auto collection = add_collection_argument(command);
    add_file_options(command, request);
    command.on_selected([&request, collection] {
        request.run = [&request, collection](report& rep) { run(request.files, *collection, rep); };
    });
}

}  // namespace dpctl
