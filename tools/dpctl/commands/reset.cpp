#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tools/dpctl/changes/change_outcome.hpp"
#include "tools/dpctl/changes/change_request.hpp"
#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/names/name_lookup.hpp"
#include "tools/dpctl/status/status_reason.hpp"
#include "tools/dpctl/values/attribute_copy.hpp"
#include "tools/dpctl/values/attribute_description.hpp"
#include "tools/dpctl/values/setting_values.hpp"
#include "transactions/command_status.hpp"

namespace dpctl {
namespace {

using dp_support::command_line;
using dp_support::json_value;

// A setting of the collection, and what became of it.
struct reset_setting {
    setting_change change;
    std::shared_ptr<const attribute_copy> copy;
    reading pending;  // now

    [[nodiscard]] const dp_attribute& attribute() const { return copy->get(); }
    [[nodiscard]] bool is_at_default(const reading& value) const {
        return is_removed_by_default(attribute()) ? !value.known
                                                  : is_value(value, attribute().dft, attribute());
    }
    // Whether the reset is to change the setting, or did.
    [[nodiscard]] bool is_affected() const {
        return !is_at_default(change.replaced) || !is_at_default(pending);
    }
};

std::vector<reset_setting> plan(session& service, const collection_view& collection) {
    std::vector<reset_setting> plan;
    std::vector<std::string> names;
    for (const auto& setting : collection.settings_with_values()) {
        reset_setting& added = plan.emplace_back();
        added.copy = std::make_shared<attribute_copy>(*setting.attribute);
        added.change.name = setting.name();
        if (is_removed_by_default(added.attribute())) {
            added.change.operation = dp::op_delete;
        } else {
            added.change.value = added.attribute().dft;
        }
        names.push_back(added.change.name);
    }
    auto values = service.read(names, values_of::pending);
    for (std::size_t i = 0; i < plan.size(); ++i) {
        plan[i].pending = values[i];
        plan[i].change.replaced = std::move(values[i]);
    }
    return plan;
}

void read_after(session& service, std::vector<reset_setting>& settings) {
    std::vector<std::string> names;
    names.reserve(settings.size());
    for (const auto& setting : settings) {
        names.push_back(setting.change.name);
    }
    service.reinitialize();
    auto values = service.read(names, values_of::pending);
    for (std::size_t i = 0; i < settings.size(); ++i) {
        settings[i].pending = std::move(values[i]);
    }
}

// Why the request to reset the setting, which was answered, failed; empty when it did not.
std::string why_not_reset(const reset_setting& setting, const file_names& files) {
    const setting_change& change = setting.change;
    if (change.status != dp::command_status::success) {
        return explain_status(static_cast<std::uint32_t>(change.status), &setting.attribute(),
                              change.value);
    }
    return judge_change(change, setting.pending) == change_outcome::unconfirmed
               ? "the settings service reset it, but not in " + files.settings
               : std::string();
}

// Reports what happened to the setting. Returns the outcome for programs.
const char* report_outcome(const reset_setting& setting, const request_end& end,
                           const file_names& files, report& rep) {
    const setting_change& change = setting.change;
    const std::string its_default = " (default: " +
                                    (is_removed_by_default(setting.attribute())
                                         ? "-"
                                         : value_text({true, false, setting.attribute().dft})) +
                                    ')';
    if (is_read_only(setting.attribute())) {
        rep.line(change.name + ": remains " + value_text(setting.pending) + ", it is read-only" +
                 its_default);
        return "read_only";
    }
    if (!end.is_answered()) {
        return outcome_word(end.is_dropped() ? change_outcome::not_requested
                                             : change_outcome::no_answer);
    }
    if (const std::string reason = why_not_reset(setting, files); !reason.empty()) {
        rep.problem(change.name + ": " + reason + "; it is still " + value_text(setting.pending) +
                    its_default);
        return outcome_word(change_outcome::refused);
    }
    rep.line(change.name + ": " + value_text(change.replaced) + " -> " + value_text(change.stored));
    if (!is_stored_value(setting.pending, change.stored)) {
        rep.note(change.name + ": was changed again meanwhile, to " + value_text(setting.pending));
    }
    return outcome_word(change_outcome::changed);
}

void report_outcomes(const std::vector<reset_setting>& settings, const request_end& end,
                     const file_names& files, report& rep) {
    auto& list = rep.document().set("settings", json_value::array());
    std::size_t changed = 0;
    for (const auto& setting : settings) {
        if (!setting.is_affected()) {
            continue;
        }
        const std::string outcome = report_outcome(setting, end, files, rep);
        changed += outcome == outcome_word(change_outcome::changed) ? 1U : 0U;
        list.push_back(json_value::object(
            {{"name", setting.change.name},
             {"outcome", outcome},
             {"default", default_json(setting.attribute())},
             {"previous", value_json(setting.change.replaced)},
             {"pending", value_json(setting.pending)},
             {"truncated", setting.change.replaced.cut || setting.pending.cut}}));
    }
    if (changed != 0) {
        rep.line(std::to_string(changed) + (changed == 1 ? " setting was" : " settings were") +
                 " reset to the default, pending until the server restarts.");
    }
}

void run_reset(const file_names& files, const std::string& collection, report& rep) {
    session service(files, rep);
    catalog names(service);
    const auto* const view = find_collection(names, service, collection, rep);
    if (view == nullptr) {
        return;
    }
    const std::string version = service.pending_version();
    auto settings = plan(service, *view);
    if (settings.empty()) {
        rep.problem("there is nothing to reset: " + service.files().settings +
                    " has no values of collection " + collection);
        return;
    }

    rep.document().set("collection", collection);
    rep.document().set("waited_seconds", 0);
    // All of them, since another client may change one that has its default now.
    std::vector<setting_change*> changes;
    bool is_needed = false;
    for (auto& setting : settings) {
        if (!is_read_only(setting.attribute())) {
            changes.push_back(&setting.change);
            is_needed = is_needed || setting.is_affected();
        }
    }
    request_end end;
    if (is_needed) {
        end = request_changes(changes, version, rep);
        if (!end.is_dropped()) {
            read_after(service, settings);
        }
    } else {
        rep.line("All settings of " + collection +
                 " that can be changed already have their default values.");
    }
    report_outcomes(settings, end, service.files(), rep);
}

}  // namespace

void add_reset(command_line& program, invocation& request) {
    auto& command = add_command(
        program, request, "reset",
        {.summary = "Set the settings of a collection to their defaults",
         .details =
             "The defaults are pending until the server restarts. Read-only settings are not\n"
             "changed, which is not a failure. If every other setting already has its default,\n"
             "no request is sent, which is not a failure either. dpctl waits for its turn and\n"
             "for the answer as it does for \"dpctl set\".\n",
         .examples = {"dpctl reset Boot", "dpctl reset Boot --json"}});
    const auto collection = add_collection_argument(command);
    add_file_options(command, request);
    command.on_selected([&request, collection] {
        request.run = [&request, collection](report& rep) {
            run_reset(request.files, *collection, rep);
        };
    });
}

}  // namespace dpctl
