#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "tools/dpctl/output/attribute_text.hpp"
#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/names/known_names.hpp"
#include "tools/dpctl/changes/setting_values.hpp"
#include "tools/dpctl/output/table.hpp"

namespace dpctl {
namespace {

std::string marks(const dp_attribute& attribute, const setting_values& values) {
    std::string text = is_read_only(attribute) ? "read-only" : "";
    if (values.waits_for_restart) {
        text += text.empty() ? "pending restart" : ", pending restart";
    }
    return text;
}

void run(const file_names& files, const std::string& collection, report& rep) {
    session service(files);
    catalog names(service);
    if (!have_collections(names, service, rep)) {
        return;
    }
    const auto* const view = find_collection(names, collection, rep);
    if (view == nullptr) {
        return;
    }

    const auto settings = view->settings();
    const auto setting_names = names_of(settings);
    const auto values = read_values(service, setting_names);

    if (rep.as_json()) {
        rep.document()["collection"] = collection;
        auto& list = rep.document()["settings"] = nlohmann::ordered_json::array();
        for (std::size_t i = 0; i < settings.size(); ++i) {
            nlohmann::ordered_json one = {{"name", setting_names[i]},
                                          {"type", type_name(*settings[i].attribute)},
                                          {"read_only", is_read_only(*settings[i].attribute)}};
            add_values(one, values[i]);
            list.push_back(std::move(one));
        }
        return;
    }
    if (settings.empty()) {
        rep.line(collection + " has no attributes.");
        return;
    }
    table rows({"NAME", "TYPE", "PENDING", "CURRENT", "NOTES"});
    for (std::size_t i = 0; i < settings.size(); ++i) {
        const dp_attribute& attribute = *settings[i].attribute;
        rows.add({setting_names[i], type_name(attribute), value_text(values[i].pending),
                  value_text(values[i].current), marks(attribute, values[i])});
    }
    rep.show(rows);
}

}  // namespace

void add_list(CLI::App& app, job& what) {
    auto& command =
        add_command(app, what, "list", "List the settings of a collection with their values",
                    {"dpctl list Boot", "dpctl list Boot --json"});
    const auto collection = add_collection_argument(command);
    add_help(
        command,
        "PENDING is the value as last set, CURRENT the one in force since the server's last\n"
        "start; \"-\" stands for none. \"pending restart\" marks settings where these differ. A\n"
        "value of more than 79 bytes is cut.\n");
    add_file_options(command, what);
    command.callback([&what, collection] {
        what.run = [&what, collection](report& rep) { run(what.files, *collection, rep); };
    });
}

}  // namespace dpctl
