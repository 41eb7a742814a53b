#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "tools/dpctl/changes/change_outcome.hpp"
#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/desired/desired_settings.hpp"
#include "tools/dpctl/desired/state_plan.hpp"
#include "tools/dpctl/names/name_lookup.hpp"
#include "tools/dpctl/names/setting_selection.hpp"
#include "tools/dpctl/values/registry_state.hpp"
#include "tools/dpctl/values/setting_values.hpp"

namespace dpctl {
namespace {

using dp_support::command_line;
using dp_support::json_value;

struct diff_options {
    std::vector<std::string> files;
    bool defaults = false;
};

// What is compared, and the settings whose values differ.
struct comparison {
    struct difference {
        std::string name;
        reading from;
        reading to;
    };

    std::string from;
    std::string to;
    std::vector<difference> differences;

    void add(const std::string& name, reading before, reading after) {
        if (!is_stored_value(before, after)) {
            differences.push_back({name, std::move(before), std::move(after)});
        }
    }
};

void report_comparison(const comparison& result, report& rep) {
    auto& document = rep.document();
    document.set("from", result.from);
    document.set("to", result.to);
    auto& list = document.set("differences", json_value::array());
    for (const auto& difference : result.differences) {
        rep.line(difference.name + ": " + value_text(difference.from) + " -> " +
                 value_text(difference.to));
        list.push_back(json_value::object({{"name", difference.name},
                                           {"from", value_json(difference.from)},
                                           {"to", value_json(difference.to)}}));
    }
    if (result.differences.empty() && !rep.failed()) {
        rep.line("No difference between " + result.from + " and " + result.to + '.');
        rep.end_with(exit_code::nothing_to_do);
    }
}

comparison compare_with_current(session& service, const std::vector<setting_ref>& settings) {
    comparison result{"current values", "pending values", {}};
    const auto names = names_of(settings);
    auto values = read_values(service, names);
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (values[i].waits_for_restart) {
            result.add(names[i], std::move(values[i].current), std::move(values[i].pending));
        }
    }
    return result;
}

// The value that the setting is to have.
reading value_of(desired_setting desired) {
    return desired.operation == dp::op_delete ? reading{}
                                              : reading{true, false, std::move(desired.value)};
}

comparison compare_with_defaults(session& service, const std::vector<setting_ref>& settings) {
    comparison result{"default values", "pending values", {}};
    const auto names = names_of(settings);
    auto values = service.read(names, values_of::pending);
    for (std::size_t i = 0; i < names.size(); ++i) {
        result.add(names[i], value_of(default_of(settings[i])), std::move(values[i]));
    }
    return result;
}

comparison compare_with_state(session& service, const std::vector<desired_setting>& settings,
                              const std::string& source) {
    comparison result{"pending values", source, {}};
    std::vector<std::string> names;
    names.reserve(settings.size());
    for (const auto& desired : settings) {
        names.push_back(desired.setting.name());
    }
    auto values = service.read(names, values_of::pending);
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (!settings[i].may_remain) {
            result.add(names[i], std::move(values[i]), value_of(settings[i]));
        }
    }
    return result;
}

// A state by the names of its settings.
std::map<std::string, reading> by_name(std::vector<desired_setting> settings) {
    std::map<std::string, reading> values;
    for (auto& desired : settings) {
        std::string name = desired.setting.name();
        values.emplace(std::move(name), value_of(std::move(desired)));
    }
    return values;
}

comparison compare_states(const state_file& first, std::vector<desired_setting> first_settings,
                          const state_file& second, std::vector<desired_setting> second_settings) {
    comparison result{first.source, second.source, {}};
    auto before = by_name(std::move(first_settings));
    auto after = by_name(std::move(second_settings));
    for (auto& [name, value] : before) {
        const auto found = after.find(name);
        result.add(name, std::move(value), found == after.end() ? reading{} : found->second);
    }
    for (auto& [name, value] : after) {
        if (!before.contains(name)) {
            result.add(name, reading{}, std::move(value));
        }
    }
    return result;
}

void run_diff(const file_names& files, const diff_options& options, report& rep) {
    if (options.files.size() > 2 || (options.defaults && !options.files.empty())) {
        rep.usage_problem("diff compares at most two files, and --defaults compares none");
        return;
    }
    rep.allow_pager();
    std::vector<state_file> states;
    for (const auto& file : options.files) {
        auto state = load_state(file, rep);
        if (!state) {
            return;
        }
        states.push_back(*std::move(state));
    }
    session service(files, rep);
    catalog names(service);
    if (!have_collections(names, service, rep)) {
        return;
    }
    if (states.empty()) {
        const auto settings = select_settings(names, {}, true, rep);
        report_comparison(options.defaults ? compare_with_defaults(service, settings)
                                           : compare_with_current(service, settings),
                          rep);
        return;
    }
    const registry_state registry(service, names, rep);
    const auto first = resolve_state(names, registry, states[0], rep);
    report_comparison(states.size() == 1
                          ? compare_with_state(service, first, states[0].source)
                          : compare_states(states[0], first, states[1],
                                           resolve_state(names, registry, states[1], rep)),
                      rep);
}

}  // namespace

void add_diff(command_line& program, invocation& request) {
    auto& command = add_command(
        program, request, "diff",
        {.summary = "Show the differences between values",
         .details = "Compares the current values with the pending ones, the defaults with the\n"
                    "pending values, the pending values with a desired state, or two desired\n"
                    "states with each other.\n" +
                    std::string(state_help),
         .examples = {"dpctl diff", "dpctl diff --defaults", "dpctl diff server.json",
                      "dpctl diff old.json new.json"},
         .further_exit_codes = "3 no difference"});
    const auto options = std::make_shared<diff_options>();
    command.add_option("FILE", options->files, "Desired states; - is standard input",
                       {.check = why_not_a_path});
    command.add_flag("--defaults", options->defaults,
                     "Compare the defaults with the pending values");
    add_file_options(command, request);
    command.on_selected([&request, options] {
        request.run = [&request, options](report& rep) { run_diff(request.files, *options, rep); };
    });
}

}  // namespace dpctl
