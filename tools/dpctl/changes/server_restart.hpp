#ifndef DP_TOOLS_DPCTL_CHANGES_SERVER_RESTART_HPP
#define DP_TOOLS_DPCTL_CHANGES_SERVER_RESTART_HPP

#include "tools/dpctl/changes/change_plan.hpp"

namespace dpctl {

class report;

/// Requests a restart of the server, and waits until the pending values of the plan's settings are
/// the current ones. Reads them again. A refusal and a wait that takes too long are problems.
void restart_server(session& service, change_plan& plan, report& rep);

}  // namespace dpctl

#endif
