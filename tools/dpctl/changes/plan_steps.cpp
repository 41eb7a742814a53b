#include "tools/dpctl/changes/plan_steps.hpp"

#include <algorithm>
#include <cstddef>
#include <string>

#include "tools/dpctl/changes/plan_execution.hpp"
#include "tools/dpctl/changes/server_restart.hpp"
#include "tools/dpctl/output/report.hpp"
#include "tools/dpctl/system/confirmation.hpp"

namespace dpctl {
namespace {

std::string question_about(std::size_t count, bool restarts) {
    return (restarts && count == 0
                ? "Restart the server"
                : "Change " + std::to_string(count) + (count == 1 ? " setting" : " settings") +
                      (restarts ? " and restart the server" : "")) +
           '?';
}

// Whether a current value differs from the pending one.
bool needs_restart(const change_plan& plan) {
    return std::any_of(plan.changes.begin(), plan.changes.end(), [](const planned_change& planned) {
        return planned.outcome != change_outcome::remains &&
               !is_stored_value(planned.current, planned.pending);
    });
}

void show(const session& service, const change_plan& plan, const plan_steps& steps, report& rep) {
    report_plan(plan, service.files().settings, steps.shown, rep);
    // A state that could not be read says nothing about the number of its changes.
    if (steps.counts && !(plan.changes.empty() && rep.failed())) {
        rep.line(describe_counts(plan) + '.');
    }
}

// Whether a change is refused that is possible after the others.
bool has_later_changes(const change_plan& plan) {
    return std::any_of(plan.changes.begin(), plan.changes.end(), [](const planned_change& planned) {
        return planned.outcome == change_outcome::refused && planned.is_possible_later;
    });
}

// Nothing is requested, because there are problems.
void drop(change_plan& plan) {
    for (auto& planned : plan.changes) {
        if (planned.outcome == change_outcome::planned) {
            planned.outcome = change_outcome::not_requested;
        }
    }
}

}  // namespace

void carry_out_plan(session& service, change_plan& plan, const plan_steps& steps, report& rep) {
    const std::string& settings_file = service.files().settings;
    const std::size_t count = plan.count(change_outcome::planned);
    const bool is_possible = steps.keep_going || (!plan.has_refusals() && !rep.failed());
    if (steps.is_dry_run || !is_possible) {
        rep.document().set("waited_seconds", 0);
        if (!steps.is_dry_run) {
            drop(plan);
        }
        show(service, plan, steps, rep);
        fill_document(plan, settings_file, rep);
        if (!is_possible) {
            if (steps.has_keep_going && has_later_changes(plan)) {
                rep.hint("With --keep-going the other changes are made first; then try again.");
            } else if (steps.has_keep_going && count != 0) {
                rep.hint("With --keep-going the other changes are made.");
            }
            rep.hint(steps.is_dry_run ? "Nothing would be changed." : "Nothing was changed.");
        } else if (count == 0 && steps.has_nothing_code) {
            rep.end_with(exit_code::nothing_to_do);
        }
        return;
    }
    const bool restarts = steps.restarts && (count != 0 || needs_restart(plan));
    if (steps.asks && (count != 0 || restarts) && can_ask()) {
        report_plan(plan, settings_file, shown_changes::planned_ones, rep);
        if (!confirm(question_about(count, restarts))) {
            drop(plan);
            fill_document(plan, settings_file, rep);
            rep.problem("not confirmed", {"Nothing was changed."});
            return;
        }
    }
    execute_plan(service, plan, steps.keep_going, steps.otherwise, rep);
    show(service, plan, steps, rep);
    if (restarts && plan.count(change_outcome::not_requested) == 0 &&
        plan.count(change_outcome::no_answer) == 0) {
        restart_server(service, plan, rep);
    } else if (count == 0 && steps.has_nothing_code) {
        rep.end_with(exit_code::nothing_to_do);
    }
    fill_document(plan, settings_file, rep);
}

}  // namespace dpctl
