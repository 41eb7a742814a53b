#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/names/name_lookup.hpp"
#include "tools/dpctl/output/table.hpp"
#include "tools/dpctl/values/attribute_description.hpp"
#include "tools/dpctl/values/setting_values.hpp"

namespace dpctl {
namespace {

using dp_support::command_line;
using dp_support::json_value;

std::string notes_on(const dp_attribute& attribute, const setting_values& values) {
    std::string text = is_read_only(attribute) ? "read-only" : "";
    if (values.waits_for_restart) {
        text += text.empty() ? "pending restart" : ", pending restart";
    }
    return text;
}

void run_list(const file_names& files, const std::string& collection, report& rep) {
    session service(files, rep);
    catalog names(service);
    const auto* const view = find_collection(names, service, collection, rep);
    if (view == nullptr) {
        return;
    }

    const auto settings = view->settings();
    const auto setting_names = names_of(settings);
    const auto values = read_values(service, setting_names);

    if (rep.as_json()) {
        rep.document().set("collection", collection);
        auto& list = rep.document().set("settings", json_value::array());
        for (std::size_t i = 0; i < settings.size(); ++i) {
            auto setting =
                json_value::object({{"name", setting_names[i]},
                                    {"type", type_name(*settings[i].attribute)},
                                    {"read_only", is_read_only(*settings[i].attribute)}});
            add_values(setting, values[i]);
            list.push_back(std::move(setting));
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
                  value_text(values[i].current), notes_on(attribute, values[i])});
    }
    rep.show(rows);
}

}  // namespace

void add_list(command_line& program, invocation& request) {
    auto& command = add_command(
        program, request, "list",
        {.summary = "List the settings of a collection with their values",
         .details =
             "PENDING is the value that was set last, CURRENT the value in effect since the\n"
             "server's last start; \"-\" means no value. \"pending restart\" marks settings\n"
             "whose two values differ. Values of more than 79 bytes are cut.\n",
         .examples = {"dpctl list Boot", "dpctl list Boot --json"}});
    const auto collection = add_collection_argument(command);
    add_file_options(command, request);
    command.on_selected([&request, collection] {
        request.run = [&request, collection](report& rep) {
            run_list(request.files, *collection, rep);
        };
    });
}

}  // namespace dpctl
