#include "redfish/resources/log_resources.hpp"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "redfish/protocol/call.hpp"
#include "redfish/protocol/messages.hpp"
#include "redfish/protocol/standard_answers.hpp"
#include "redfish/resources/model_answers.hpp"
#include "redfish/resources/resource_json.hpp"
#include "redfish/resources/resource_paths.hpp"
#include "redfish/resources/schemas.hpp"
#include "redfish/resources/service_answer.hpp"
#include "service_api/change_record.hpp"
#include "support/json.hpp"

namespace dp_redfish {
namespace {

using dp_service::change_record;
using dp_support::json_value;

std::string in_double_quotes(const std::optional<std::string>& value) {
    return value ? '"' + *value + '"' : "no value";
}

// Whether the values of a change may be shown. Those of attributes that the server no longer has
// may have been secrets.
bool may_show_values(const settings_catalog& catalog, const change_record& record) {
    const auto found = catalog.by_full_name.find(record.target);
    return found != catalog.by_full_name.end() && !catalog.settings[found->second].is_secret;
}

// What happened, for a person.
std::string text_of_change(const settings_catalog& catalog, const change_record& record) {
    // The service reports about itself.
    if (record.who == change_record::by_service || record.target.starts_with('(')) {
        return record.target + ' ' + record.value.value_or("");
    }
    if (!may_show_values(catalog, record)) {
        return record.target + (record.value ? " was changed" : " was deleted");
    }
    std::string text = record.target + ": " + in_double_quotes(record.value) + ", was " +
                       in_double_quotes(record.before);
    if (!record.cause.empty()) {
        text += ", because " + record.cause;
    }
    return text;
}

json_value entry_json(const server_snapshot& server, std::size_t position) {
    const change_record& record = server.history->records()[position];
    const std::string& id = server.history->ids()[position];
    json_value body = start_resource(std::string(resource_paths::change_log_entries) + '/' + id,
                                     "LogEntry", id, "Change");
    body.set("EntryType", "Event");
    body.set("Severity", "OK");
    body.set("Created", record.time);
    body.set("Message", text_of_change(*server.catalog, record));
    if (const auto by = record.requested_by(); !by.client.empty()) {
        body.set("Originator", by.client);
        body.set("OriginatorType", "Client");
        if (!by.on_behalf_of.empty()) {
            body.set("Username", by.on_behalf_of);
        }
    }
    body.set("Links",
             json_value::object({{"OriginOfCondition", reference(resource_paths::bios_settings)}}));
    return body;
}

answer entries_answer(const server_snapshot& server) {
    json_value body = collection_resource(resource_paths::change_log_entries, "LogEntryCollection",
                                          "Changes of settings", {});
    json_value list = json_value::array();
    const std::size_t count = server.history->ids().size();
    list.items.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        list.push_back(entry_json(server, i));
    }
    body.set("Members@odata.count", count);
    body.set("Members", std::move(list));
    return {.body = std::move(body)};
}

answer entry_answer(const server_snapshot& server, const std::string& wanted) {
    if (const auto found = server.history->find(wanted)) {
        return {.body = entry_json(server, *found)};
    }
    return not_found_answer("LogEntry", wanted);
}

json_value log_service_json() {
    json_value body =
        start_resource(resource_paths::change_log, "LogService", "Changes", "Changes of settings");
    body.set("Description", "The changes of settings that were made, oldest first");
    body.set("LogEntryType", "Event");
    body.set("OverWritePolicy", "WrapsWhenFull");
    body.set("ServiceEnabled", true);
    body.set("Status", json_value::object({{"State", "Enabled"}, {"Health", "OK"}}));
    body.set("Entries", reference(resource_paths::change_log_entries));
    return body;
}

}  // namespace

void add_log_routes(route_table& routes, server_model& model) {
    routes.add("GET", resource_paths::log_services, privileges::login,
               [](const std::shared_ptr<call>& request) {
                   request->respond({.body = collection_resource(resource_paths::log_services,
                                                                 "LogServiceCollection", "Logs",
                                                                 {resource_paths::change_log})});
               });
    routes.add("GET", resource_paths::change_log, privileges::login,
               [](const std::shared_ptr<call>& request) {
                   request->respond({.body = log_service_json()});
               });
    routes.add("GET", resource_paths::change_log_entries, privileges::login,
               [&model](const std::shared_ptr<call>& request) {
                   answer_from_snapshot(
                       model, request, "The history",
                       [](const snapshot_pointer& server) { return entries_answer(*server); });
               });
    routes.add("GET", std::string(resource_paths::change_log_entries) + "/{}", privileges::login,
               [&model](const std::shared_ptr<call>& request) {
                   answer_from_snapshot(
                       model, request, "The history", [request](const snapshot_pointer& server) {
                           return entry_answer(*server, request->parameters.front());
                       });
               });
}

}  // namespace dp_redfish
