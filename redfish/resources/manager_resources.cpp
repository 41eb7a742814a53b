#include "redfish/resources/manager_resources.hpp"

#include <memory>
#include <string>
#include <utility>

#include "redfish/model/server_model.hpp"
#include "redfish/protocol/call.hpp"
#include "redfish/protocol/messages.hpp"
#include "redfish/resources/resource_json.hpp"
#include "redfish/resources/resource_paths.hpp"
#include "support/json.hpp"

namespace dp_redfish {
namespace {

using dp_support::json_value;

json_value status_of_manager() {
    if (server_model::has_settings_service()) {
        return json_value::object({{"State", "Enabled"}, {"Health", "OK"}});
    }
    const json_value text = message_json({"ServiceTemporarilyUnavailable", {"5"}});
    json_value conditions = json_value::array();
    conditions.push_back(json_value::object(
        {{"MessageId", *text.find("MessageId")},
         {"MessageArgs", *text.find("MessageArgs")},
         {"Message", "The settings service does not run: values can be read, not changed."},
         {"Severity", "Critical"},
         {"Timestamp", time_now_text()}}));
    return json_value::object(
        {{"State", "Enabled"}, {"Health", "Critical"}, {"Conditions", std::move(conditions)}});
}

json_value manager_json(const service_info& info) {
    json_value body = start_resource(resource_paths::manager, "Manager", "bmc", "Manager");
    body.set("ManagerType", "BMC");
    body.set("FirmwareVersion", info.version);
    if (!info.uuid.empty()) {
        body.set("ServiceEntryPointUUID", info.uuid);
    }
    // It answers.
    body.set("PowerState", "On");
    body.set("Status", status_of_manager());
    // Clients look for logs here too.
    body.set("LogServices", reference(resource_paths::log_services));
    json_value servers = json_value::array();
    servers.push_back(reference(resource_paths::system));
    body.set("Links", json_value::object({{"ManagerForServers", std::move(servers)},
                                          {"ManagerForServers@odata.count", 1}}));
    return body;
}

}  // namespace

void add_manager_routes(route_table& routes, const service_info& info) {
    routes.add("GET", resource_paths::managers, privileges::login,
               [](const std::shared_ptr<call>& request) {
                   request->respond(
                       {.body = collection_resource(resource_paths::managers, "ManagerCollection",
                                                    "Managers", {resource_paths::manager})});
               });
    routes.add("GET", resource_paths::manager, privileges::login,
               [info](const std::shared_ptr<call>& request) {
                   request->respond({.body = manager_json(info)});
               });
}

}  // namespace dp_redfish
