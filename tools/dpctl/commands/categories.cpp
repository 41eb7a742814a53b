#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "bios/dp_event_categories.h"
#include "common/fixed_paths.hpp"
#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/output/table.hpp"

namespace dpctl {
namespace {

// The table as the library tells it.
std::vector<dp_category_map_entry> read_categories() {
    std::uint32_t count = 0;
    int result = dp_get_uim_event_category_mapping(nullptr, &count);
    std::vector<dp_category_map_entry> entries;
    if (result == 0 && count > 0) {
        // The call does not know how much room there is, and the file may grow meanwhile.
        constexpr std::size_t spare = 1024;
        entries.resize(count + spare);
        result = dp_get_uim_event_category_mapping(entries.data(), &count);
    }
    if (result != 0) {
        throw std::runtime_error("the event categories could not be read");
    }
    entries.resize(count);
    return entries;
}

// Why there are none; empty when that is no failure.
std::string why_unreadable(const std::string& file) {
    std::error_code ignored;
    if (std::filesystem::is_directory(file, ignored)) {
        return file + " is a folder";
    }
    if (std::filesystem::is_other(file, ignored)) {
        return file + " is not a regular file";
    }
    if (std::filesystem::exists(file, ignored) && access(file.c_str(), R_OK) != 0) {
        return file + " can't be read";
    }
    return {};
}

void run(report& rep) {
    const std::string file = dp::fixed_paths::event_categories.str();
    const auto entries = read_categories();
    rep.document()["file"] = file;
    auto& list = rep.document()["categories"] = nlohmann::ordered_json::array();
    table rows({"NUMBER", "NAME", "MEANING"});
    for (const auto& entry : entries) {
        rows.add({std::to_string(entry.bit), entry.name, entry.value});
        list.push_back({{"number", entry.bit}, {"name", entry.name}, {"meaning", entry.value}});
    }
    if (!entries.empty()) {
        rep.show(rows);
        return;
    }
    const std::string reason = why_unreadable(file);
    std::error_code ignored;
    if (!reason.empty()) {
        rep.problem("there are no event categories: " + reason);
    } else if (!std::filesystem::exists(file, ignored)) {
        rep.line("There are no event categories: " + file + " does not exist.");
    } else {
        rep.line("There are no event categories: " + file +
                 " has no line such as \"3 = Memory :: Memory errors\".");
    }
}

}  // namespace

void add_categories(CLI::App& app, job& what) {
    auto& command = add_command(app, what, "categories", "List the event categories",
                                {"dpctl categories", "dpctl categories --json"});
    add_help(command,
             "The table that maps numbered categories of RAS events to names, in the order of\n" +
                 dp::fixed_paths::event_categories.str() +
                 ",\nwhich another component writes. None is no failure.\n");
    command.callback([&what] { what.run = [](report& rep) { run(rep); }; });
}

}  // namespace dpctl
