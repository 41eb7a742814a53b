#ifndef DP_TOOLS_DPCTL_COMMANDS_COMMANDS_HPP
#define DP_TOOLS_DPCTL_COMMANDS_COMMANDS_HPP

#include <functional>

#include "support/command_line.hpp"
#include "tools/dpctl/output/report.hpp"
#include "tools/dpctl/values/session.hpp"

namespace dpctl {

/// What the command line requests.
struct invocation {
    bool json = false;
    file_names files;
    std::function<void(report&)> run;  ///< set by the subcommand that was given
};

/// Adds a subcommand to `program`, one function each. Parsing fills in `request`, which must
/// outlive its `run`.
void add_collections(dp_support::command_line& program, invocation& request);
void add_list(dp_support::command_line& program, invocation& request);
void add_show(dp_support::command_line& program, invocation& request);
void add_get(dp_support::command_line& program, invocation& request);
void add_set(dp_support::command_line& program, invocation& request);
void add_revert(dp_support::command_line& program, invocation& request);
void add_export(dp_support::command_line& program, invocation& request);
void add_diff(dp_support::command_line& program, invocation& request);
void add_plan(dp_support::command_line& program, invocation& request);
void add_apply(dp_support::command_line& program, invocation& request);
void add_reset(dp_support::command_line& program, invocation& request);
void add_check(dp_support::command_line& program, invocation& request);
void add_status(dp_support::command_line& program, invocation& request);
void add_history(dp_support::command_line& program, invocation& request);
void add_vet(dp_support::command_line& program, invocation& request);
void add_categories(dp_support::command_line& program, invocation& request);
/// Only with the POSIX platform, which can receive from queues.
void add_alerts(dp_support::command_line& program, invocation& request);
void add_complete(dp_support::command_line& program, invocation& request);

}  // namespace dpctl

#endif
