#include "tools/dpctl/changes/plan_report.hpp"

#include <array>
#include <cstddef>
#include <utility>

#include "support/json.hpp"
#include "tools/dpctl/output/printable_text.hpp"
#include "tools/dpctl/output/report.hpp"
#include "tools/dpctl/values/setting_values.hpp"

namespace dpctl {
namespace {

using dp_support::json_value;

struct outcome_count {
    change_outcome outcome;
    const char* text;
};

constexpr std::array<outcome_count, 8> counted_outcomes{{
    {change_outcome::planned, "to change"},
    {change_outcome::changed, "changed"},
    {change_outcome::already, "already so"},
    {change_outcome::remains, "read-only and not changed"},
    {change_outcome::refused, "refused"},
    {change_outcome::not_requested, "not changed"},
    {change_outcome::unconfirmed, "not confirmed"},
    {change_outcome::no_answer, "without answer"},
}};

std::string because(const planned_change& planned) {
    return planned.cause.empty() ? std::string() : " because " + planned.cause;
}

std::string describe_new_value(const planned_change& planned, const reading& value) {
    std::string text = value_text(planned.change.replaced) + " -> " + value_text(value);
    // A spelling that dpctl or the service replaced.
    if (value.known && !planned.requested.empty() && value.text != planned.requested &&
        !is_value(value, planned.requested, planned.attribute())) {
        text += " (requested: " + in_quotes(planned.requested) + ')';
    }
    return text + because(planned);
}

json_value change_json(const planned_change& planned, const std::string& message) {
    const setting_change& change = planned.change;
    auto result = json_value::object(
        {{"name", change.name},
         {"requested", planned.requested},
         {"outcome", outcome_word(planned.outcome)},
         {"message", message},
         {"previous", value_json(change.replaced)},
         {"pending", value_json(planned.pending)},
         {"current", value_json(planned.current)},
         {"truncated", change.replaced.cut || planned.pending.cut || planned.current.cut}});
    if (planned.outcome == change_outcome::planned) {
        result.set("value", value_json(planned.desired()));
    }
    if (planned.outcome == change_outcome::refused) {
        result.set("status", change.status);
    }
    if (!planned.cause.empty()) {
        result.set("because", planned.cause);
    }
    return result;
}

void report_outcome(const planned_change& planned, const std::string& message, shown_changes which,
                    report& rep) {
    switch (planned.outcome) {
        case change_outcome::already:
            if (which == shown_changes::all) {
                rep.line(planned.name() + ' ' + message);
            }
            break;
        case change_outcome::planned:
        case change_outcome::remains:
            rep.line(planned.name() + ": " + message);
            break;
        case change_outcome::changed:
            rep.line(planned.name() + ": " + message);
            if (!is_stored_value(planned.pending, planned.change.stored)) {
                rep.note(planned.name() + ": was changed again meanwhile, to " +
                         value_text(planned.pending));
            }
            break;
        case change_outcome::not_requested:
            break;  // reported once for all changes
        case change_outcome::no_answer:
            rep.note(planned.name() + ": " + message);
            break;
        case change_outcome::refused:
        case change_outcome::unconfirmed:
            rep.problem(planned.place + planned.name() + ": " + message);
            break;
    }
}

}  // namespace

std::string describe_change(const planned_change& planned, const std::string& settings_file) {
    const setting_change& change = planned.change;
    switch (planned.outcome) {
        case change_outcome::already:
            return "is already " +
                   value_text(change.stored.known ? change.stored : planned.pending);
        case change_outcome::planned:
            return describe_new_value(planned, planned.desired());
        case change_outcome::changed:
            return describe_new_value(planned, change.stored) +
                   (is_stored_value(planned.current, change.stored)
                        ? ", same as the current value"
                        : ", pending until the server restarts");
        case change_outcome::refused:
            return planned.reason;
        case change_outcome::remains:
            return "remains " + value_text(planned.pending) + " instead of " +
                   value_text(planned.desired()) + ", " + planned.reason;
        case change_outcome::no_answer:
            return "the settings service did not answer; the pending value is now " +
                   value_text(planned.pending);
        case change_outcome::not_requested:
            return "was not changed";
        case change_outcome::unconfirmed:
            break;
    }
    return "the settings service made the change, but the pending value in " + settings_file +
           " is still " + value_text(planned.pending);
}

std::string describe_counts(const change_plan& plan) {
    std::string text;
    for (const auto& [outcome, words] : counted_outcomes) {
        if (const std::size_t count = plan.count(outcome); count != 0) {
            text += (text.empty() ? "" : ", ") + std::to_string(count) + ' ' + words;
        }
    }
    return text.empty() ? "nothing to change" : text;
}

void report_plan(const change_plan& plan, const std::string& settings_file, shown_changes which,
                 report& rep) {
    for (const auto& planned : plan.changes) {
        if (which != shown_changes::planned_ones || planned.outcome == change_outcome::planned) {
            report_outcome(planned, describe_change(planned, settings_file), which, rep);
        }
    }
    if (plan.count(change_outcome::planned) + plan.count(change_outcome::changed) == 0) {
        return;
    }
    for (const auto& effect : plan.effects) {
        rep.line(effect.name + ": " + value_text({true, false, effect.before}) + " -> " +
                 value_text({true, false, effect.after}) + " because " + effect.cause);
    }
}

void fill_document(const change_plan& plan, const std::string& settings_file, report& rep) {
    auto& document = rep.document();
    auto& list = document.set("settings", json_value::array());
    for (const auto& planned : plan.changes) {
        list.push_back(change_json(planned, describe_change(planned, settings_file)));
    }
    auto& effects = document.set("effects", json_value::array());
    for (const auto& effect : plan.effects) {
        effects.push_back(json_value::object({{"name", effect.name},
                                              {"previous", effect.before},
                                              {"pending", effect.after},
                                              {"because", effect.cause}}));
    }
    auto summary = json_value::object();
    for (const auto& [outcome, words] : counted_outcomes) {
        summary.set(outcome_word(outcome), plan.count(outcome));
    }
    document.set("summary", std::move(summary));
}

}  // namespace dpctl
