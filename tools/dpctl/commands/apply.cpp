#include <memory>
#include <string>

#include "tools/dpctl/changes/plan_steps.hpp"
#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/desired/state_plan.hpp"

namespace dpctl {
namespace {

using dp_support::command_line;

struct apply_options {
    std::string file;
    bool is_confirmed = false;
    bool others_default = false;
    plan_steps steps;
};

void run_apply(const file_names& files, const apply_options& options, report& rep) {
    session service(files, rep);
    if (auto plan = plan_state(service, options.file, options.others_default, rep)) {
        carry_out_plan(service, *plan, options.steps, rep);
    }
}

void add_state_options(command_line& command, apply_options& options) {
    command.add_option("FILE", options.file, "The desired state, or - for standard input",
                       {.required = true, .check = why_not_a_path});
    command.add_flag("--others-default", options.others_default,
                     "Bring every setting that is not named to its default");
    options.steps.has_keep_going = true;
    command.add_flag("--keep-going", options.steps.keep_going,
                     "Make the other changes when one cannot be made");
}

}  // namespace

void add_plan(command_line& program, invocation& request) {
    auto& command = add_command(
        program, request, "plan",
        {.summary = "Show what applying a desired state would change",
         .details = std::string(state_help) +
                    "Shows what would change, what is already so, and what cannot be and why.\n"
                    "Nothing is sent to the settings service.\n",
         .examples = {"dpctl plan server.json", "dpctl export | dpctl plan -"},
         .further_exit_codes = "3 nothing to change"});
    const auto options = std::make_shared<apply_options>();
    options->steps.is_dry_run = true;
    options->steps.shown = shown_changes::all;
    add_state_options(command, *options);
    add_file_options(command, request);
    command.on_selected([&request, options] {
        request.run = [&request, options](report& rep) { run_apply(request.files, *options, rep); };
    });
}

void add_apply(command_line& program, invocation& request) {
    auto& command = add_command(
        program, request, "apply",
        {.summary = "Bring the pending values to a desired state",
         .details =
             std::string(state_help) +
             "Shows what will change, asks if there is a terminal, and makes all changes in\n"
             "one batch. If one of them cannot be made, or the pending values change meanwhile,\n"
             "nothing is changed. A warning says that the file was made from a server with\n"
             "another registry version or BIOS build.\n",
         .examples = {"dpctl apply server.json", "dpctl apply --yes --restart server.json",
                      "ssh server1 dpctl export | dpctl apply -"},
         .further_exit_codes = "3 nothing to change"});
    const auto options = std::make_shared<apply_options>();
    add_state_options(command, *options);
    command.add_flag("--yes", options->is_confirmed, "Do not ask");
    command.add_flag("--restart", options->steps.restarts,
                     "Restart the server, and wait until the values are current");
    add_file_options(command, request);
    command.on_selected([&request, options] {
        options->steps.asks = !options->is_confirmed;
        request.run = [&request, options](report& rep) { run_apply(request.files, *options, rep); };
    });
}

}  // namespace dpctl
