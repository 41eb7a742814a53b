#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tools/dpctl/changes/change_planner.hpp"
#include "tools/dpctl/changes/plan_detours.hpp"
#include "tools/dpctl/changes/plan_steps.hpp"
#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/desired/desired_settings.hpp"
#include "tools/dpctl/names/setting_selection.hpp"
#include "tools/dpctl/values/setting_values.hpp"

namespace dpctl {
namespace {

using dp_support::command_line;

struct revert_options {
    std::shared_ptr<selection_options> selection;
    bool keep_going = false;
};

// The settings with the current values, also those that have them already: a dependency of another
// one could change them.
std::vector<desired_setting> current_state(session& service,
                                           const std::vector<setting_ref>& selected, report& rep) {
    std::vector<desired_setting> settings;
    auto values = read_values(service, names_of(selected));
    for (std::size_t i = 0; i < selected.size(); ++i) {
        // Without a file of current values nothing is pending.
        if (!values[i].waits_for_restart && values[i].pending != values[i].current) {
            continue;
        }
        if (values[i].current.cut) {
            rep.problem(selected[i].name() + ": its current value could not be read whole");
            continue;
        }
        desired_setting desired{selected[i]};
        if (values[i].current.known) {
            desired.value = std::move(values[i].current.text);
        } else {
            desired.operation = dp::op_delete;
        }
        desired.requested = desired.value;
        settings.push_back(std::move(desired));
    }
    return settings;
}

void run_revert(const file_names& files, const revert_options& options, report& rep) {
    const selection_options& selection = *options.selection;
    if (!is_selection_given(selection, "revert", rep)) {
        return;
    }
    session service(files, rep);
    const auto planner = change_planner::start(service, rep);
    if (planner == nullptr) {
        return;
    }
    const auto selected = select_settings(planner->names(), selection.names, selection.all, rep);
    auto plan = planner->plan(current_state(service, selected, rep));
    find_detours(planner->registry(), plan);
    carry_out_plan(
        service, plan,
        {.asks = !selection.is_confirmed, .keep_going = options.keep_going, .has_keep_going = true},
        rep);
}

}  // namespace

void add_revert(command_line& program, invocation& request) {
    auto& command = add_command(
        program, request, "revert",
        {.summary = "Discard pending changes of settings",
         .details =
             std::string(name_help) + pattern_help +
             "The pending values become the current ones again, in one batch, as if they had\n"
             "not been changed since the server's last start. Asks if there is a terminal. If a\n"
             "dependency forbids one of the changes, or the pending values change meanwhile,\n"
             "nothing is changed. For a value that is read-only before and after the batch,\n"
             "commands that change it in two steps are shown.\n",
         .examples = {"dpctl revert BootMode", "dpctl revert Boot Memory --yes",
                      "dpctl revert --all"},
         .further_exit_codes = "3 nothing to discard"});
    const auto options = std::make_shared<revert_options>();
    options->selection = add_selection_options(command);
    command.add_flag("--keep-going", options->keep_going,
                     "Make the other changes when one cannot be made");
    add_file_options(command, request);
    command.on_selected([&request, options] {
        request.run = [&request, options](report& rep) {
            run_revert(request.files, *options, rep);
        };
    });
}

}  // namespace dpctl
