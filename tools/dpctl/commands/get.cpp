#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/names/name_lookup.hpp"
#include "tools/dpctl/values/setting_values.hpp"

namespace dpctl {
namespace {

using dp_support::command_line;
using dp_support::json_value;

void run_get(const file_names& files, const std::vector<std::string>& texts, values_of which,
             report& rep) {
    session service(files, rep);
    catalog names(service);
    if (!have_collections(names, service, rep)) {
        return;
    }

    std::vector<std::string> settings;
    for (const auto& text : texts) {
        if (const auto setting = find_setting(names, text, rep)) {
            for (const auto& instance : setting->all()) {
                settings.push_back(instance.name());
            }
        }
    }
    const auto values = service.read(settings, which);

    const std::string& file =
        which == values_of::pending ? service.files().settings : service.files().current;
    auto& list = rep.document().set("settings", json_value::array());
    for (std::size_t i = 0; i < settings.size(); ++i) {
        if (!values[i].known) {
            rep.problem(settings[i] + ": " + file + " has no value for it");
            continue;
        }
        list.push_back(json_value::object(
            {{"name", settings[i]}, {"value", values[i].text}, {"truncated", values[i].cut}}));
        rep.line(settings[i] + '=' + (values[i].text.empty() ? "" : value_text(values[i])));
    }
}

}  // namespace

void add_get(command_line& program, invocation& request) {
    auto& command = add_command(
        program, request, "get",
        {.summary = "Print the values of settings as NAME=VALUE, one per line",
         .details = name_help,
         .examples = {"dpctl get Boot.BootMode", "dpctl get --current BootMode MemoryFrequency"}});
    const auto names = add_name_arguments(command);
    const auto current = std::make_shared<bool>(false);
    command.add_flag("--current", *current, "Print the current values instead of the pending ones");
    add_file_options(command, request);
    command.on_selected([&request, names, current] {
        request.run = [&request, names, current](report& rep) {
            run_get(request.files, *names, *current ? values_of::current : values_of::pending, rep);
        };
    });
}

}  // namespace dpctl
