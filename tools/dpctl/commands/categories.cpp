#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "bios/dp_event_categories.h"
#include "common/fixed_paths.hpp"
#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/output/table.hpp"
#include "tools/dpctl/system/readable_file.hpp"

namespace dpctl {
namespace {

using dp_support::command_line;
using dp_support::json_value;

// All entries of the library's table.
std::vector<dp_category_map_entry> read_categories() {
    std::uint32_t count = 0;
    int result = dp_get_uim_event_category_mapping(nullptr, &count);
    std::vector<dp_category_map_entry> entries;
    if (result == 0 && count > 0) {
        // The call does not know the size of the array, and the file may grow between the calls.
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

void run_categories(report& rep) {
    rep.allow_pager();
    const std::string file = dp::fixed_paths::event_categories.str();
    if (const std::string reason = why_unreadable(file); !reason.empty()) {
        rep.problem(reason);
        return;
    }
    const auto entries = read_categories();
    rep.document().set("file", file);
    auto& list = rep.document().set("categories", json_value::array());
    constexpr std::size_t least_meaning = 12;
    table rows({"NUMBER", "NAME", {"MEANING", least_meaning}});
    for (const auto& entry : entries) {
        rows.add({std::to_string(entry.bit), entry.name, entry.value});
        list.push_back(json_value::object(
            {{"number", entry.bit}, {"name", entry.name}, {"meaning", entry.value}}));
    }
    if (!entries.empty()) {
        rep.show(rows);
        return;
    }
    std::error_code ignored;
    if (!std::filesystem::exists(file, ignored)) {
        rep.line("There are no event categories: " + file + " does not exist.");
    } else {
        rep.line("There are no event categories: " + file +
                 " has no line such as \"3 = Memory :: Memory errors\".");
    }
}

}  // namespace

void add_categories(command_line& program, invocation& request) {
    auto& command = add_command(
        program, request, "categories",
        {.summary = "List the event categories",
         .details =
             "The table of the numbered categories of RAS events and their names, in the order\n"
             "of " +
             dp::fixed_paths::event_categories.str() +
             ",\nwhich another component writes. An empty table is not a failure.\n",
         .examples = {"dpctl categories", "dpctl categories --json"}});
    command.on_selected([&request] { request.run = [](report& rep) { run_categories(rep); }; });
}

}  // namespace dpctl
