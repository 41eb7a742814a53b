#include <cstddef>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/names/known_names.hpp"
#include "tools/dpctl/changes/setting_values.hpp"

namespace dpctl {
namespace {

void run(const file_names& files, const std::vector<std::string>& texts, values_of which,
         report& rep) {
    session service(files);
    catalog names(service);
    if (!have_collections(names, service, rep)) {
        return;
    }

    std::vector<std::string> settings;
    for (const auto& text : texts) {
        if (const auto setting = find_setting(names, text, rep)) {
            for (const auto& one : setting->all()) {
                settings.push_back(one.name());
            }
        }
    }
    const auto values = service.read(settings, which);

    const std::string& file =
        which == values_of::pending ? service.files().settings : service.files().current;
    auto& list = rep.document()["settings"] = nlohmann::ordered_json::array();
    for (std::size_t i = 0; i < settings.size(); ++i) {
        if (!values[i].known) {
            rep.problem(settings[i] + ": " + file + " has no value for it");
            continue;
        }
        list.push_back(
            {{"name", settings[i]}, {"value", values[i].text}, {"truncated", values[i].cut}});
        rep.line(settings[i] + '=' + (values[i].text.empty() ? "" : value_text(values[i])));
    }
}

}  // namespace

void add_get(CLI::App& app, job& what) {
    auto& command =
        add_command(app, what, "get", "Print the values of settings, a line NAME=VALUE each",
                    {"dpctl get Boot.BootMode", "dpctl get --current BootMode MemoryFrequency"});
    const auto texts = add_name_arguments(command);
    const auto current = std::make_shared<bool>(false);
    command.add_flag("--current", *current,
                     "Print the values in force instead of those as last set");
    add_file_options(command, what);
    command.callback([&what, texts, current] {
        what.run = [&what, texts, current](report& rep) {
            run(what.files, *texts, *current ? values_of::current : values_of::pending, rep);
        };
    });
}

}  // namespace dpctl
