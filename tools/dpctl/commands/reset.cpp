#include <algorithm>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "support/suggestions.hpp"
#include "tools/dpctl/changes/change_planner.hpp"
#include "tools/dpctl/changes/plan_steps.hpp"
#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/desired/desired_settings.hpp"
#include "tools/dpctl/names/setting_selection.hpp"

namespace dpctl {
namespace {

using dp_support::command_line;

void run_reset(const file_names& files, const selection_options& options, report& rep) {
    if (!is_selection_given(options, "reset", rep)) {
        return;
    }
    session service(files, rep);
    const auto planner = change_planner::start(service, rep);
    if (planner == nullptr) {
        return;
    }
    const auto selected = select_settings(planner->names(), options.names, options.all, rep);
    if (selected.empty() && !rep.failed()) {
        rep.problem("there is nothing to reset: " + service.files().settings +
                    " has no values of " +
                    (options.all ? "the template" : dp_support::enumerate(options.names, " or ")));
        return;
    }
    std::vector<desired_setting> settings;
    std::transform(selected.begin(), selected.end(), std::back_inserter(settings), default_of);
    auto plan = planner->plan(settings);
    carry_out_plan(service, plan,
                   {.asks = !options.is_confirmed,
                    .has_nothing_code = false,
                    .otherwise = when_changed::request},
                   rep);
}

}  // namespace

void add_reset(command_line& program, invocation& request) {
    auto& command = add_command(
        program, request, "reset",
        {.summary = "Set settings to their defaults",
         .details =
             std::string(name_help) + pattern_help +
             "The defaults are pending until the server restarts. Read-only settings are not\n"
             "changed, which is not a failure. If every other setting already has its default,\n"
             "no request is sent, which is not a failure either. Asks if there is a terminal.\n"
             "dpctl waits for its turn and for the answer as it does for \"dpctl set\".\n",
         .examples = {"dpctl reset Boot", "dpctl reset BootMode --yes", "dpctl reset --all"}});
    const auto options = add_selection_options(command);
    add_file_options(command, request);
    command.on_selected([&request, options] {
        request.run = [&request, options](report& rep) { run_reset(request.files, *options, rep); };
    });
}

}  // namespace dpctl
