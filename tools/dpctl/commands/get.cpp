#include <cstddef>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/names/name_lookup.hpp"
#include "tools/dpctl/names/name_pattern.hpp"
#include "tools/dpctl/values/setting_values.hpp"

namespace dpctl {
namespace {

using dp_support::command_line;
using dp_support::json_value;

struct get_options {
    std::vector<std::string> names;
    bool all = false;
    bool current = false;
};

// A setting to print.
struct wanted_value {
    std::string name;
    bool is_named = false;  // having no value is a failure
};

std::vector<wanted_value> find_wanted(catalog& names, const get_options& options, report& rep) {
    std::vector<wanted_value> wanted;
    std::unordered_set<std::string> seen;
    const std::vector<std::string> everything{"*"};
    for (const auto& text : options.all ? everything : options.names) {
        for (const auto& setting : find_settings(names, text, rep)) {
            // A name that is given twice is printed twice, what matches several patterns once.
            const bool is_new = seen.insert(setting.name()).second;
            if (is_new || !is_pattern(text)) {
                wanted.push_back({setting.name(), !is_pattern(text)});
            }
        }
    }
    return wanted;
}

void run_get(const file_names& files, const get_options& options, report& rep) {
    rep.allow_pager();
    session service(files, rep);
    catalog names(service);
    if (!have_collections(names, service, rep)) {
        return;
    }

    const auto wanted = find_wanted(names, options, rep);
    std::vector<std::string> settings;
    settings.reserve(wanted.size());
    for (const auto& each : wanted) {
        settings.push_back(each.name);
    }
    const values_of which = options.current ? values_of::current : values_of::pending;
    const auto values = service.read(settings, which);

    const std::string& file =
        which == values_of::pending ? service.files().settings : service.files().current;
    auto& list = rep.document().set("settings", json_value::array());
    for (std::size_t i = 0; i < settings.size(); ++i) {
        if (values[i].known) {
            list.push_back(json_value::object(
                {{"name", settings[i]}, {"value", values[i].text}, {"truncated", values[i].cut}}));
            rep.line(settings[i] + '=' + (values[i].text.empty() ? "" : value_text(values[i])));
        } else if (wanted[i].is_named) {
            rep.problem(settings[i] + ": " + file + " has no value for it");
        }
    }
}

}  // namespace

void add_get(command_line& program, invocation& request) {
    auto& command = add_command(
        program, request, "get",
        {.summary = "Print the values of settings as NAME=VALUE, one per line",
         .details = std::string(name_help) + pattern_help +
                    "Settings that have no value are left out, except those that are named.\n",
         .examples = {"dpctl get Boot.BootMode", "dpctl get --current BootMode MemoryFrequency",
                      "dpctl get 'Boot.*'", "dpctl get --all"}});
    const auto options = std::make_shared<get_options>();
    command.add_option("NAME", options->names, "Names of settings, or patterns");
    command.add_flag("--all", options->all, "Print the values of all settings",
                     {.excludes = "NAME"});
    command.add_flag("--current", options->current,
                     "Print the current values instead of the pending ones");
    add_file_options(command, request);
    command.on_selected([&request, options] {
        if (options->names.empty() && !options->all) {
            throw dp_support::usage_error("NAME or --all is required");
        }
        request.run = [&request, options](report& rep) { run_get(request.files, *options, rep); };
    });
}

}  // namespace dpctl
