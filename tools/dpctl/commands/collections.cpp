#include <algorithm>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/names/known_names.hpp"
#include "tools/dpctl/changes/setting_values.hpp"
#include "tools/dpctl/output/table.hpp"

namespace dpctl {
namespace {

void run(const file_names& files, report& rep) {
    session service(files);
    const catalog names(service);
    if (!have_collections(names, service, rep)) {
        return;
    }

    // The settings of all collections in a row, for one reading of each file.
    std::vector<std::string> settings;
    std::vector<std::size_t> ends;
    for (const auto& collection : names.collections()) {
        const auto own = service.setting_names(collection);
        settings.insert(settings.end(), own.begin(), own.end());
        ends.push_back(settings.size());
    }
    const auto values = read_values(service, settings);

    table rows({"COLLECTION", "SETTINGS", "PENDING RESTART"});
    auto& list = rep.document()["collections"] = nlohmann::ordered_json::array();
    auto first = values.begin();
    for (std::size_t i = 0; i < ends.size(); ++i) {
        const auto end = values.begin() + static_cast<std::ptrdiff_t>(ends[i]);
        const auto count = end - first;
        const auto waiting = std::count_if(
            first, end, [](const setting_values& value) { return value.waits_for_restart; });
        first = end;
        const auto& name = names.collections()[i];
        rows.add({name, std::to_string(count), std::to_string(waiting)});
        list.push_back({{"name", name}, {"settings", count}, {"pending_restart", waiting}});
    }
    rep.show(rows);
}

}  // namespace

void add_collections(CLI::App& app, job& what) {
    auto& command = add_command(app, what, "collections", "List the collections",
                                {"dpctl collections", "dpctl collections --json"});
    add_help(command,
             "Says of each collection how many settings it has that have a value, and how many of\n"
             "these change when the server restarts.\n");
    add_file_options(command, what);
    command.callback([&what] { what.run = [&what](report& rep) { run(what.files, rep); }; });
}

}  // namespace dpctl
