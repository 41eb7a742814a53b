#ifndef DP_TOOLS_DPCTL_CHANGES_PLAN_STEPS_HPP
#define DP_TOOLS_DPCTL_CHANGES_PLAN_STEPS_HPP

#include "tools/dpctl/changes/change_plan.hpp"
#include "tools/dpctl/changes/change_request.hpp"
#include "tools/dpctl/changes/plan_report.hpp"

namespace dpctl {

class report;

/// How a command carries out a plan.
struct plan_steps {
    bool is_dry_run = false;       ///< only show the plan
    bool asks = false;             ///< if there is a terminal, before anything is requested
    bool keep_going = false;       ///< make the other changes when one is refused
    bool has_keep_going = false;   ///< the command has the option --keep-going
    bool restarts = false;         ///< restart the server and wait until the values are current
    bool counts = true;            ///< show how many settings have which outcome
    bool has_nothing_code = true;  ///< end with `exit_code::nothing_to_do` if there is nothing
    when_changed otherwise = when_changed::give_up;
    shown_changes shown = shown_changes::new_ones;
};

/// Shows the plan or carries it out, and reports what became of each change. If there are problems
/// already, as unknown names, nothing is requested unless the other changes are to be made.
void carry_out_plan(session& service, change_plan& plan, const plan_steps& steps, report& rep);

}  // namespace dpctl

#endif
