#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/dpctl/changes/change_planner.hpp"
#include "tools/dpctl/changes/plan_steps.hpp"
#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/desired/desired_settings.hpp"
#include "tools/dpctl/desired/state_plan.hpp"
#include "tools/dpctl/output/printable_text.hpp"

namespace dpctl {
namespace {

using dp_support::command_line;

struct set_options {
    std::vector<std::string> assignments;
    std::string file;
    plan_steps steps;
};

std::string why_not_an_assignment(const std::string& text) {
    const std::size_t equals = text.find('=');
    return equals == std::string::npos || equals == 0 ? in_quotes(text) + " is not NAME=VALUE"
                                                      : std::string();
}

// The assignments of the command line, after those of the file if there is one.
std::optional<state_file> state_of(const set_options& options, report& rep) {
    std::optional<state_file> state = state_file();
    if (!options.file.empty() && !(state = load_state(options.file, rep))) {
        return std::nullopt;
    }
    for (const auto& assignment : options.assignments) {
        const std::size_t equals = assignment.find('=');
        state->entries.push_back({assignment.substr(0, equals), assignment.substr(equals + 1)});
    }
    return state;
}

void run_set(const file_names& files, const set_options& options, report& rep) {
    if (options.assignments.empty() && options.file.empty()) {
        rep.usage_problem("set needs NAME=VALUE or --file");
        return;
    }
    const auto state = state_of(options, rep);
    if (!state) {
        return;
    }
    session service(files, rep);
    const auto planner = change_planner::start(service, rep);
    if (planner == nullptr) {
        return;
    }
    if (!options.file.empty()) {
        note_other_versions(*state, service, planner->registry(), rep);
    }
    auto plan = planner->plan(resolve_state(planner->names(), planner->registry(), *state, rep));
    carry_out_plan(service, plan, options.steps, rep);
}

}  // namespace

void add_set(command_line& program, invocation& request) {
    auto& command = add_command(
        program, request, "set",
        {.summary = "Change settings, several in one batch",
         .details =
             std::string(name_help) +
             "The new values are pending until the server restarts.\n"
             "A value may be empty and may contain every character except a newline. If one of\n"
             "the arguments is wrong, or the template or a dependency does not allow one of the\n"
             "values, no request is sent. A setting that already has the value is reported and\n"
             "is not a failure.\n"
             "The settings service makes one change after another; dpctl reports how many\n"
             "requests are ahead, and waits at most 60 seconds for its turn and for the answer.\n"
             "Ctrl-C withdraws a request that has not started; it does not stop one that has.\n",
         .examples = {"dpctl set Boot.BootMode=UEFI", "dpctl set BootMode=UEFI \"AssetTag=Rack 7\"",
                      "dpctl set --dry-run --file settings.txt BootMode=UEFI"}});
    const auto options = std::make_shared<set_options>();
    options->steps.counts = false;
    options->steps.has_nothing_code = false;
    options->steps.otherwise = when_changed::request;
    options->steps.shown = shown_changes::all;
    command.add_option("NAME=VALUE", options->assignments, "Names of settings and their new values",
                       {.check = why_not_an_assignment});
    command.add_option("--file", options->file,
                       "Also the values of a desired state; - is standard input",
                       {.value_name = "FILE", .check = why_not_a_path});
    command.add_flag("--dry-run", options->steps.is_dry_run,
                     "Show what would change, and send nothing");
    add_file_options(command, request);
    command.on_selected([&request, options] {
        request.run = [&request, options](report& rep) { run_set(request.files, *options, rep); };
    });
}

}  // namespace dpctl
