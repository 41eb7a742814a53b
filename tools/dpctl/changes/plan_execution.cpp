#include "tools/dpctl/changes/plan_execution.hpp"

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "service_api/service_status.hpp"
#include "tools/dpctl/output/report.hpp"
#include "tools/dpctl/status/status_reason.hpp"
#include "tools/dpctl/values/setting_values.hpp"
#include "transactions/command_status.hpp"

namespace dpctl {
namespace {

std::string why_refused(const planned_change& planned) {
    const setting_change& change = planned.change;
    return change.reason.empty() ? explain_status(static_cast<std::uint32_t>(change.status),
                                                  &planned.attribute(), change.value)
                                 : change.reason;
}

// The outcome of a change that was requested, after the values were read back.
void judge(planned_change& planned, bool is_answered) {
    if (!is_answered) {
        planned.outcome = change_outcome::no_answer;
        return;
    }
    planned.outcome = judge_change(planned.change, planned.pending);
    if (planned.outcome == change_outcome::refused) {
        planned.reason = why_refused(planned);
    } else if (planned.may_remain && !is_stored_value(planned.pending, planned.desired()) &&
               is_stored_value(planned.pending, planned.change.replaced)) {
        planned.outcome = change_outcome::remains;
        planned.reason = "read-only because of another setting";
    }
}

// The outcome of a change that a dependency was to make.
void judge_dependent(planned_change& planned, bool is_answered) {
    planned.change.stored = planned.pending;
    if (!is_answered) {
        planned.outcome = change_outcome::no_answer;
    } else if (is_stored_value(planned.pending, planned.desired())) {
        planned.change.status = dp::command_status::success;
        planned.outcome = change_outcome::changed;
    } else {
        planned.outcome = change_outcome::refused;
        planned.change.status = dp_service::service_status::forbidden_by_dependency;
        planned.reason = "it is read-only, and was not set although " + planned.cause;
    }
}

// What dependencies changed, except the changes that the plan leaves to them. A service may know no
// dependencies.
void take_effects(change_plan& plan, std::vector<dp_service::change_record> dependent) {
    std::unordered_set<std::string_view> planned;
    for (const auto& change : plan.changes) {
        if (!change.cause.empty()) {
            planned.insert(change.name());
        }
    }
    plan.effects.clear();
    for (auto& record : dependent) {
        if (!planned.contains(record.target)) {
            plan.effects.push_back({std::move(record.target), record.before.value_or(""),
                                    record.value.value_or(""), std::move(record.cause)});
        }
    }
}

}  // namespace

void read_back(session& service, change_plan& plan) {
    std::vector<std::string> names;
    names.reserve(plan.changes.size());
    for (const auto& planned : plan.changes) {
        names.push_back(planned.name());
    }
    service.reinitialize();
    auto values = read_values(service, names);
    for (std::size_t i = 0; i < plan.changes.size(); ++i) {
        plan.changes[i].pending = std::move(values[i].pending);
        plan.changes[i].current = std::move(values[i].current);
    }
}

void execute_plan(session& service, change_plan& plan, bool keep_going, when_changed otherwise,
                  report& rep) {
    rep.document().set("waited_seconds", 0);
    const bool is_possible = keep_going || !plan.has_refusals();
    std::vector<planned_change*> waiting;
    std::vector<setting_change*> requested;
    for (auto& planned : plan.changes) {
        if (planned.outcome != change_outcome::planned) {
            continue;
        }
        waiting.push_back(&planned);
        if (planned.is_requested()) {
            requested.push_back(&planned.change);
        }
        planned.outcome = change_outcome::not_requested;
    }
    if (!is_possible || requested.empty()) {
        return;
    }
    request_end end = request_changes(requested, plan.version, otherwise, rep);
    if (end.is_dropped()) {
        return;
    }
    if (end.is_answered()) {
        take_effects(plan, std::move(end.dependent));
    }
    read_back(service, plan);
    for (auto* const planned : waiting) {
        if (planned->cause.empty()) {
            judge(*planned, end.is_answered());
        } else {
            judge_dependent(*planned, end.is_answered());
        }
    }
}

}  // namespace dpctl
