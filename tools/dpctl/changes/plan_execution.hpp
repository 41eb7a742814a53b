#ifndef DP_TOOLS_DPCTL_CHANGES_PLAN_EXECUTION_HPP
#define DP_TOOLS_DPCTL_CHANGES_PLAN_EXECUTION_HPP

#include "tools/dpctl/changes/change_plan.hpp"
#include "tools/dpctl/changes/change_request.hpp"

namespace dpctl {

class report;

/// Requests the changes of the plan as one batch, waits for the answer, and reads the values back.
/// Afterwards each change has its outcome. Nothing is requested if there is nothing to change, or
/// if a change is refused, unless `keep_going`: then the others are requested.
void execute_plan(session& service, change_plan& plan, bool keep_going, when_changed otherwise,
                  report& rep);

/// Reads the pending and current values of the plan's settings again.
void read_back(session& service, change_plan& plan);

}  // namespace dpctl

#endif
