#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/names/name_lookup.hpp"
#include "tools/dpctl/output/table.hpp"
#include "tools/dpctl/values/setting_values.hpp"

namespace dpctl {
namespace {

using dp_support::command_line;
using dp_support::json_value;

void run_collections(const file_names& files, report& rep) {
    rep.allow_pager();
    session service(files, rep);
    const catalog names(service);
    if (!have_collections(names, service, rep)) {
        return;
    }

    // The settings of all collections together, so that each file is read once.
    std::vector<std::string> settings;
    std::vector<std::size_t> ends;
    for (const auto& collection : names.collections()) {
        const auto added = service.setting_names(collection);
        settings.insert(settings.end(), added.begin(), added.end());
        ends.push_back(settings.size());
    }
    const auto values = read_values(service, settings);

    table rows({"COLLECTION", "SETTINGS", "PENDING RESTART"});
    auto& list = rep.document().set("collections", json_value::array());
    auto first = values.begin();
    for (std::size_t i = 0; i < ends.size(); ++i) {
        const auto end = values.begin() + static_cast<std::ptrdiff_t>(ends[i]);
        const auto count = end - first;
        const auto waiting = std::count_if(
            first, end, [](const setting_values& value) { return value.waits_for_restart; });
        first = end;
        const auto& name = names.collections()[i];
        rows.add({name, std::to_string(count), std::to_string(waiting)});
        list.push_back(json_value::object(
            {{"name", name}, {"settings", count}, {"pending_restart", waiting}}));
    }
    rep.show(rows);
}

}  // namespace

void add_collections(command_line& program, invocation& request) {
    auto& command = add_command(
        program, request, "collections",
        {.summary = "List the collections",
         .details =
             "Shows for each collection how many of its settings have a value, and how many\n"
             "of these change when the server restarts.\n",
         .examples = {"dpctl collections", "dpctl collections --json"}});
    add_file_options(command, request);
    command.on_selected([&request] {
        request.run = [&request](report& rep) { run_collections(request.files, rep); };
    });
}

}  // namespace dpctl
