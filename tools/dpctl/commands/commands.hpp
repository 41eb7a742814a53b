#ifndef DP_TOOLS_DPCTL_COMMANDS_COMMANDS_HPP
#define DP_TOOLS_DPCTL_COMMANDS_COMMANDS_HPP

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

#include "tools/dpctl/output/report.hpp"
#include "tools/dpctl/changes/session.hpp"

namespace dpctl {

/// What the command line asks for.
struct job {
    bool json = false;
    file_names files;
    std::function<void(report&)> run;  ///< set by the subcommand that was chosen
};

/// One function a subcommand: adds it to `app`, and sets `what.run` when it is chosen. Both must
/// outlive the parsing, and `what` the run.
void add_collections(CLI::App& app, job& what);
void add_list(CLI::App& app, job& what);
void add_show(CLI::App& app, job& what);
void add_get(CLI::App& app, job& what);
void add_set(CLI::App& app, job& what);
void add_reset(CLI::App& app, job& what);
void add_check(CLI::App& app, job& what);
void add_status(CLI::App& app, job& what);
void add_history(CLI::App& app, job& what);
void add_vet(CLI::App& app, job& what);
void add_categories(CLI::App& app, job& what);
/// Needs the POSIX platform, whose queues it listens on.
void add_alerts(CLI::App& app, job& what);
void add_complete(CLI::App& app, job& what);

}  // namespace dpctl

#endif
