#ifndef DP_TOOLS_DPCTL_CHANGES_PLAN_DETOURS_HPP
#define DP_TOOLS_DPCTL_CHANGES_PLAN_DETOURS_HPP

#include "tools/dpctl/changes/change_plan.hpp"

namespace dpctl {

class registry_state;

/// Looks for a way to make the changes of the plan that dependencies refuse before and after it,
/// and sets its `detours`: the service decides about a batch as a whole, so that no order of the
/// changes in one batch makes them possible. `registry` is that of the plan.
///
/// Only values of single settings are tried, and only for the first refused changes, so that the
/// cost is limited.
void find_detours(const registry_state& registry, change_plan& plan);

}  // namespace dpctl

#endif
