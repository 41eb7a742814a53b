#include <climits>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "service_api/server_paths.hpp"
#include "tools/dpctl/changes/change_list.hpp"
#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/output/table.hpp"
#include "tools/dpctl/system/stable_read.hpp"
#include "tools/dpctl/values/setting_values.hpp"

namespace dpctl {
namespace {

using dp_support::command_line;
using dp_support::json_value;

// The settings service limits its history to 256 KiB; other files may be longer.
constexpr std::size_t history_limit = std::size_t{64} << 20;

struct history_options {
    std::vector<std::string> names;
    std::string file;
    unsigned last = 0;  // 0: all
};

reading reading_of(const std::optional<std::string>& value) {
    return {value.has_value(), false, value.value_or("")};
}

// The client, after the person for whom it said that it acts.
std::string client_text(const dp_service::change_record::requester& by) {
    if (by.client.empty()) {
        return "-";
    }
    return by.on_behalf_of.empty() ? by.client : by.on_behalf_of + " with " + by.client;
}

void show_changes(const std::vector<dp_service::change_record>& changes, report& rep) {
    constexpr std::size_t least_transaction = 11;
    constexpr std::size_t least_client = 16;
    constexpr std::size_t least_id = 16;
    constexpr std::size_t least_value = 8;
    constexpr std::size_t least_cause = 12;
    table rows({"TIME",
                {"TRANSACTION", least_transaction, true},
                {"CLIENT", least_client, true},
                {"ID", least_id, true},
                "SETTING",
                {"FROM", least_value},
                {"TO", least_value},
                {"BECAUSE", least_cause}});
    auto& list = rep.document().set("changes", json_value::array());
    for (const auto& change : changes) {
        const auto by = change.requested_by();
        rows.add({change.time, by.transaction, client_text(by), by.id.empty() ? "-" : by.id,
                  change.target, value_text(reading_of(change.before)),
                  value_text(reading_of(change.value)), change.cause.empty() ? "-" : change.cause});
        list.push_back(json_value::object({{"time", change.time},
                                           {"transaction", by.transaction},
                                           {"id", by.id},
                                           {"client", by.client},
                                           {"on_behalf_of", by.on_behalf_of},
                                           {"name", change.target},
                                           {"previous", value_json(reading_of(change.before))},
                                           {"value", value_json(reading_of(change.value))},
                                           {"cause", change.cause}}));
    }
    if (!changes.empty()) {
        rep.show(rows);
    }
}

std::string explain_empty_list(const file_snapshot& file, const change_list& content) {
    if (!file.exists) {
        return "No changes were made: " + file.path + " does not exist.";
    }
    return content.changes.empty() ? "No changes were made: " + file.path + " contains none."
                                   : file.path + " contains no changes of these names.";
}

void note_ignored_lines(const std::string& path, const change_list& content, report& rep) {
    if (content.foreign_lines > 0) {
        rep.note(path + ": ignored " + std::to_string(content.foreign_lines) +
                 (content.foreign_lines == 1 ? " line that is not a change"
                                             : " lines that are not changes"));
    }
    if (content.is_incomplete) {
        rep.note(path + ": ignored the last line, which is incomplete");
    }
}

void run_history(const history_options& options, report& rep) {
    // The service creates its history with the first change.
    const file_snapshot file =
        read_stable(options.file, dp_service::server_paths::history.str(), history_limit);
    if (!file.error.empty()) {
        rep.problem(file.error);
        return;
    }
    const change_list content = read_changes(file.text.value_or(""));
    const auto changes = select_changes(content.changes, options.names, options.last);
    rep.document().set("file", file.path);
    rep.document().set("exists", file.exists);
    show_changes(changes, rep);
    if (changes.empty()) {
        rep.line(explain_empty_list(file, content));
    }
    rep.document().set("foreign_lines", content.foreign_lines);
    rep.document().set("incomplete", content.is_incomplete);
    note_ignored_lines(file.path, content, rep);
}

}  // namespace

void add_history(command_line& program, invocation& request) {
    auto& command = add_command(
        program, request, "history",
        {.summary = "List the changes that were made, newest last",
         .details =
             "The settings service records every change that it makes: the time, the\n"
             "transaction, the client that requested it, an identifier that no other transaction\n"
             "has, the setting, its value before and its new value; \"-\" means that there was "
             "none, or that the instance was deleted. A\n"
             "value that changed because others did has the cause. A client may name a person "
             "for\n"
             "whom it acts, as the Redfish service does: \"eve with uid=...\". The kernel knows "
             "the\n"
             "client, only the client knows the person. NAME is a collection, an "
             "attribute with or without its collection, or\n"
             "one instance. It need not exist any longer.\n"
             "On a terminal the columns are fitted to its width; elsewhere nothing is shortened.\n",
         .examples = {"dpctl history", "dpctl history Boot --last 10",
                      "dpctl history BootMode Ports.Speed.2 --json"}});
    const auto options = std::make_shared<history_options>();
    command.add_option("NAME", options->names, "Only changes of these collections and settings");
    command.add_option("--last", options->last, "Only the newest changes, this many",
                       {.least = 1, .greatest = UINT_MAX}, {.value_name = "NUMBER"});
    add_path_option(command, options->file, "Another history",
                    dp_service::server_paths::history.str());
    command.on_selected([&request, options] {
        request.run = [options](report& rep) { run_history(*options, rep); };
    });
}

}  // namespace dpctl
