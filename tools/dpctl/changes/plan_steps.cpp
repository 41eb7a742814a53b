#include "tools/dpctl/changes/plan_steps.hpp"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "support/suggestions.hpp"
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

// The refused changes of which this is true, for a person; empty if there are none.
std::string refused_names(const change_plan& plan, bool planned_change::*is_so) {
    constexpr std::size_t most_names = 5;
    std::vector<std::string> names;
    std::size_t others = 0;
    for (const planned_change& planned : plan.changes) {
        if (planned.outcome != change_outcome::refused || !(planned.*is_so)) {
            continue;
        }
        if (names.size() < most_names) {
            names.push_back(planned.name());
        } else {
            ++others;
        }
    }
    if (others != 0) {
        names.push_back(std::to_string(others) + " more");
    }
    return dp_support::enumerate(names, " and ");
}

// A word of a command line, as a shell needs it.
std::string shell_word(const std::string& text) {
    const auto is_plain = [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0 ||
               std::string_view("=._-+,:@%/").find(c) != std::string_view::npos;
    };
    if (std::all_of(text.begin(), text.end(), is_plain)) {
        return text;
    }
    std::string quoted = "'";
    for (const char c : text) {
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return quoted + '\'';
}

std::string set_command(const std::vector<std::string>& assignments) {
    std::string command = "  dpctl set";
    for (const std::string& assignment : assignments) {
        command += ' ' + shell_word(assignment);
    }
    return command;
}

// What to do about changes that dependencies do not allow.
void advise(const change_plan& plan, const plan_steps& steps, report& rep) {
    if (const auto names = refused_names(plan, &planned_change::is_possible_later);
        !names.empty()) {
        if (steps.keep_going && !steps.is_dry_run) {
            rep.hint("Run the command again to change " + names + '.');
        } else if (steps.has_keep_going) {
            rep.hint(
                "Run the command with --keep-going, which makes the other changes, and then "
                "again to change " +
                names + '.');
        } else {
            rep.hint("Make the other changes first, and change " + names + " afterwards.");
        }
    }
    if (const auto names = refused_names(plan, &planned_change::is_contradiction); !names.empty()) {
        rep.hint("The dependencies do not allow " + names +
                 " together with the other values: leave them out, or what sets them.");
    }
    for (const plan_detour& detour : plan.detours) {
        rep.hint("The dependencies do not allow " + dp_support::enumerate(detour.names, " and ") +
                 " to change, neither with the pending values nor with the current ones. Run "
                 "these commands first, then this one again:");
        rep.hint(set_command(detour.first));
        rep.hint(set_command(detour.second));
    }
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
            advise(plan, steps, rep);
            if (steps.has_keep_going && count != 0 &&
                refused_names(plan, &planned_change::is_possible_later).empty()) {
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
    advise(plan, steps, rep);
    if (restarts && plan.count(change_outcome::not_requested) == 0 &&
        plan.count(change_outcome::no_answer) == 0) {
        restart_server(service, plan, rep);
    } else if (count == 0 && steps.has_nothing_code) {
        rep.end_with(exit_code::nothing_to_do);
    }
    fill_document(plan, settings_file, rep);
}

}  // namespace dpctl
