#include <climits>
#include <cstddef>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "service_api/server_paths.hpp"
#include "tools/dpctl/changes/change_list.hpp"
#include "tools/dpctl/changes/setting_values.hpp"
#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/output/table.hpp"
#include "tools/dpctl/status/steady_file.hpp"

namespace dpctl {
namespace {

// The service keeps its history below 256 KiB; what others collect may be longer.
constexpr std::size_t history_limit = std::size_t{64} << 20;

struct history_options {
    std::vector<std::string> names;
    std::string file;
    unsigned last = 0;  // 0: all
};

reading value_of(const dp_service::change_record& change) {
    return {change.value.has_value(), false, change.value.value_or("")};
}

void show_changes(const std::vector<dp_service::change_record>& changes, report& rep) {
    table rows({"TIME", "TRANSACTION", "SETTING", "VALUE"});
    auto& list = rep.document()["changes"] = nlohmann::ordered_json::array();
    for (const auto& change : changes) {
        rows.add({change.time, change.who, change.target, value_text(value_of(change))});
        list.push_back({{"time", change.time},
                        {"transaction", change.who},
                        {"name", change.target},
                        {"value", value_json(value_of(change))}});
    }
    if (!changes.empty()) {
        rep.show(rows);
    }
}

// Why there is nothing to show.
std::string why_nothing(const steady_file& file, const change_list& content) {
    if (!file.exists) {
        return "No change was made: " + file.path + " does not exist.";
    }
    return content.changes.empty() ? "No change was made: " + file.path + " tells of none."
                                   : file.path + " tells of no change of what you name.";
}

void note_left_out(const std::string& path, const change_list& content, report& rep) {
    if (content.foreign_lines > 0) {
        rep.note(path + ": left out " + std::to_string(content.foreign_lines) +
                 (content.foreign_lines == 1 ? " line that is no change"
                                             : " lines that are no changes"));
    }
    if (content.is_torn) {
        rep.note(path + ": left out the last line, which is incomplete");
    }
}

void run(const history_options& options, report& rep) {
    // Before the first change there is none.
    const steady_file file =
        read_steadily(options.file, dp_service::server_paths::history.str(), history_limit);
    if (!file.error.empty()) {
        rep.problem(file.error);
        return;
    }
    const change_list content = read_changes(file.text.value_or(""));
    const auto changes = choose(content.changes, options.names, options.last);
    rep.document()["file"] = file.path;
    rep.document()["exists"] = file.exists;
    show_changes(changes, rep);
    if (changes.empty()) {
        rep.line(why_nothing(file, content));
    }
    rep.document()["foreign_lines"] = content.foreign_lines;
    rep.document()["incomplete"] = content.is_torn;
    note_left_out(file.path, content, rep);
}

}  // namespace

void add_history(CLI::App& app, job& what) {
    auto& command =
        add_command(app, what, "history", "List the changes that were made, newest last",
                    {"dpctl history", "dpctl history Boot --last 10",
                     "dpctl history BootMode Ports.Speed.2 --json"});
    add_help(
        command,
        "The settings service records every change that it made: when, in which transaction,\n"
        "of which setting, and the value that it got; \"-\" stands for none: the instance was\n"
        "deleted. A NAME is that of a collection, an attribute, with or without its\n"
        "collection, or one instance. It need not exist any more.\n");
    const auto options = std::make_shared<history_options>();
    command.add_option("NAME", options->names, "Only changes of these collections and settings")
        ->type_name("");
    command.add_option("--last", options->last, "Only so many, the newest ones")
        ->type_name("NUMBER")
        ->check(CLI::Range(1U, UINT_MAX));
    add_path_option(command, options->file, "Another history",
                    dp_service::server_paths::history.str());
    command.callback(
        [&what, options] { what.run = [options](report& rep) { run(*options, rep); }; });
}

}  // namespace dpctl
