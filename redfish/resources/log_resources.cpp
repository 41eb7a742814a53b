#include "redfish/resources/log_resources.hpp"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "redfish/protocol/call.hpp"
#include "redfish/protocol/messages.hpp"
#include "redfish/protocol/standard_answers.hpp"
#include "redfish/resources/model_answers.hpp"
#include "redfish/resources/resource_json.hpp"
#include "redfish/resources/resource_paths.hpp"
#include "redfish/resources/schemas.hpp"
#include "redfish/resources/service_answer.hpp"
#include "service_api/change_record.hpp"
#include "service_api/fnv1a_64.hpp"
#include "support/json.hpp"

namespace dp_redfish {
namespace {

using dp_service::change_record;
using dp_support::json_value;

std::string in_double_quotes(const std::optional<std::string>& value) {
    return value ? '"' + *value + '"' : "no value";
}

// What happened, for a person.
std::string text_of_change(const change_record& record) {
    if (record.who == change_record::by_service) {
        return record.target + ' ' + record.value.value_or("");
    }
    std::string text = record.target + ": " + in_double_quotes(record.value) + ", was " +
                       in_double_quotes(record.before);
    if (!record.cause.empty()) {
        text += ", because " + record.cause;
    }
    return text;
}

// Ids that remain when older records are dropped from the history: hashes of the records, with a
// number for equal ones.
std::vector<std::string> entry_ids(const std::vector<change_record>& records) {
    std::vector<std::string> ids;
    ids.reserve(records.size());
    std::unordered_map<std::string, std::size_t> count;
    for (const auto& record : records) {
        dp_service::fnv1a_64 hash;
        hash.add(record.line());
        std::string id = hash.str();
        const std::size_t number = ++count[id];
        ids.push_back(number == 1 ? id : id + '-' + std::to_string(number));
    }
    return ids;
}

json_value entry_json(const change_record& record, const std::string& id) {
    json_value body = start_resource(std::string(resource_paths::change_log_entries) + '/' + id,
                                     "LogEntry", id, "Change");
    body.set("EntryType", "Event");
    body.set("Severity", "OK");
    body.set("Created", record.time);
    body.set("Message", text_of_change(record));
    if (const auto by = record.requested_by(); !by.client.empty()) {
        body.set("Originator", by.client);
        body.set("OriginatorType", "Client");
    }
    body.set("Links",
             json_value::object({{"OriginOfCondition", reference(resource_paths::bios_settings)}}));
    return body;
}

answer entries_answer(const server_snapshot& server) {
    json_value body = collection_resource(resource_paths::change_log_entries, "LogEntryCollection",
                                          "Changes of settings", {});
    json_value list = json_value::array();
    const auto ids = entry_ids(*server.history);
    list.items.reserve(ids.size());
    for (std::size_t i = 0; i < ids.size(); ++i) {
        list.push_back(entry_json((*server.history)[i], ids[i]));
    }
    body.set("Members@odata.count", ids.size());
    body.set("Members", std::move(list));
    return {.body = std::move(body)};
}

answer entry_answer(const server_snapshot& server, const std::string& wanted) {
    const auto ids = entry_ids(*server.history);
    for (std::size_t i = 0; i < ids.size(); ++i) {
        if (ids[i] == wanted) {
            return {.body = entry_json((*server.history)[i], wanted)};
        }
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
