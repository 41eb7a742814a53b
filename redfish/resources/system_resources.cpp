#include "redfish/resources/system_resources.hpp"

#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "redfish/protocol/call.hpp"
#include "redfish/protocol/http_status.hpp"
#include "redfish/protocol/messages.hpp"
#include "redfish/protocol/request_body.hpp"
#include "redfish/protocol/standard_answers.hpp"
#include "redfish/resources/model_answers.hpp"
#include "redfish/resources/request_members.hpp"
#include "redfish/resources/resource_json.hpp"
#include "redfish/resources/resource_paths.hpp"
#include "redfish/resources/service_answer.hpp"
#include "service_api/settings_client.hpp"
#include "support/json.hpp"
#include "transactions/command_status.hpp"

namespace dp_redfish {
namespace {

using dp_service::settings_client;
using dp_support::json_kind;
using dp_support::json_value;

constexpr const char* reset_action = "ComputerSystem.Reset";

// The simulated server always runs; all of them are the same restart.
constexpr std::array<const char*, 3> reset_types{"GracefulRestart", "ForceRestart", "PowerCycle"};

json_value list_of_reset_types() {
    return {std::vector<std::string>(reset_types.begin(), reset_types.end())};
}

// The members of Boot and the one value that each has: there is nothing to override. Some clients
// take a server without the members for a faulty one.
struct boot_member {
    const char* name;
    const char* value;
};
constexpr std::array<boot_member, 2> boot_members{
    {{"BootSourceOverrideEnabled", "Disabled"}, {"BootSourceOverrideTarget", "None"}}};

json_value boot_json() {
    json_value body = json_value::object();
    for (const auto& [name, value] : boot_members) {
        body.set(name, value);
        body.set(std::string(name) + "@Redfish.AllowableValues", std::vector<std::string>{value});
    }
    return body;
}

bool is_uuid(std::string_view text) {
    constexpr std::string_view form = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
    return text.size() == form.size() &&
           std::equal(text.begin(), text.end(), form.begin(), [](char c, char like) {
               const bool is_digit =
                   (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
               return like == 'x' ? is_digit : c == like;
           });
}

// Members with what identifies the server, which are keys of its product data. UUID is another.
constexpr std::array<const char*, 7> identity_members{
    "AssetTag", "HostName", "Manufacturer", "Model", "PartNumber", "SKU", "SerialNumber"};

void add_identity(const std::map<std::string, std::string>& product_data, json_value& system) {
    const auto add = [&](const char* member, const char* key) {
        const auto found = product_data.find(key);
        if (found != product_data.end() && !found->second.empty()) {
            system.set(member, found->second);
        }
    };
    for (const char* const name : identity_members) {
        add(name, name);
    }
    add("BiosVersion", "UEFIID");
    if (const auto found = product_data.find("UUID");
        found != product_data.end() && is_uuid(found->second)) {
        system.set("UUID", found->second);
    }
}

json_value system_json(const server_snapshot& server) {
    json_value body = start_resource(resource_paths::system, "ComputerSystem", "system", "Server");
    add_identity(server.product_data, body);
    body.set("SystemType", "Physical");
    body.set("PowerState", "On");
    body.set("Status", json_value::object({{"State", "Enabled"}, {"Health", "OK"}}));
    body.set("Bios", reference(resource_paths::bios));
    body.set("LogServices", reference(resource_paths::log_services));
    json_value managers = json_value::array();
    managers.push_back(reference(resource_paths::manager));
    body.set("Links", json_value::object(
                          {{"ManagedBy", std::move(managers)}, {"ManagedBy@odata.count", 1}}));
    body.set("Boot", boot_json());
    body.set("Actions", json_value::object(
                            {{"#ComputerSystem.Reset",
                              json_value::object({{"target", std::string(resource_paths::system) +
                                                                 "/Actions/ComputerSystem.Reset"},
                                                  {"ResetType@Redfish.AllowableValues",
                                                   list_of_reset_types()}})}}));
    return body;
}

std::vector<message> problems_of_boot(const json_value& boot) {
    request_members members(boot);
    for (const auto& [name, value] : boot_members) {
        const auto wanted = members.text(name);
        if (wanted && *wanted != value) {
            members.wrong(name, {"PropertyValueNotInList",
                                 {std::string(*wanted), name},
                                 {},
                                 std::string("Allowed: ") + value + '.'});
        }
    }
    members.unknown();
    auto problems = members.all();
    for (message& problem : problems) {
        problem.related_property = "/Boot" + problem.related_property;
    }
    return problems;
}

// What is wrong with a PATCH of the system. Right is only what asks for the values that it has.
std::vector<message> problems_of_system_patch(const json_value& document) {
    request_members members(document);
    const json_value* const boot = members.any("Boot");
    members.read_only({"Id", "Name", "SystemType", "PowerState", "BiosVersion", "Status", "Bios",
                       "LogServices", "Links", "Actions", "UUID"});
    for (const char* const name : identity_members) {
        members.read_only({name});
    }
    members.unknown();
    auto problems = members.all();
    if (boot != nullptr && boot->kind != json_kind::object) {
        problems.push_back({"PropertyValueTypeError",
                            {to_text(*boot, dp_support::json_layout::one_line), "Boot"},
                            "/Boot"});
    } else if (boot != nullptr) {
        const auto of_boot = problems_of_boot(*boot);
        problems.insert(problems.end(), of_boot.begin(), of_boot.end());
    }
    if (problems.empty() && (boot == nullptr || boot->items.empty())) {
        problems.push_back({"NoOperation"});
    }
    return problems;
}

void patch_system(server_model& model, const std::shared_ptr<call>& request) {
    if (const auto problems = problems_of_system_patch(request->document); !problems.empty()) {
        return request->respond(error_answer(http_status::bad_request, problems));
    }
    answer_from_snapshot(model, request, "The server's values", [](const snapshot_pointer& server) {
        return answer{.body = system_json(*server)};
    });
}

std::vector<message> problems_of_reset(const json_value& document) {
    std::vector<message> problems;
    bool has_type = false;
    for (const auto& member : document.items) {
        if (member.name != "ResetType") {
            problems.push_back({"ActionParameterUnknown",
                                {reset_action, member.name},
                                pointer_segment(member.name)});
            continue;
        }
        has_type = true;
        if (member.kind != json_kind::text) {
            problems.push_back(
                {"ActionParameterValueTypeError",
                 {to_text(member, dp_support::json_layout::one_line), member.name, reset_action},
                 "/ResetType"});
        } else if (std::find(reset_types.begin(), reset_types.end(), member.text) ==
                   reset_types.end()) {
            problems.push_back({"ActionParameterValueNotInList",
                                {member.text, member.name, reset_action},
                                "/ResetType"});
        }
    }
    if (!has_type) {
        problems.push_back({"ActionParameterMissing", {reset_action, "ResetType"}, "/ResetType"});
    }
    return problems;
}

void reset_system(server_model& model, const std::shared_ptr<call>& request) {
    if (const auto problems = problems_of_reset(request->document); !problems.empty()) {
        return request->respond(error_answer(http_status::bad_request, problems));
    }
    answer_from_service(model, request, [](settings_client& client) {
        const auto outcome = client.restart();
        return was_done(outcome) ? no_content_answer() : service_failure(outcome);
    });
}

}  // namespace

void add_system_routes(route_table& routes, server_model& model) {
    routes.add("GET", resource_paths::systems, privileges::login,
               [](const std::shared_ptr<call>& request) {
                   request->respond({.body = collection_resource(
                                         resource_paths::systems, "ComputerSystemCollection",
                                         "Servers", {resource_paths::system})});
               });
    routes.add("GET", resource_paths::system, privileges::login,
               [&model](const std::shared_ptr<call>& request) {
                   answer_from_snapshot(model, request, "The server's values",
                                        [](const snapshot_pointer& server) {
                                            return answer{.body = system_json(*server)};
                                        });
               });
    routes.add("PATCH", resource_paths::system, privileges::configure_components,
               [&model](const std::shared_ptr<call>& request) { patch_system(model, request); });
    routes.add("POST", std::string(resource_paths::system) + "/Actions/ComputerSystem.Reset",
               privileges::configure_components,
               [&model](const std::shared_ptr<call>& request) { reset_system(model, request); });
    routes.let_be_deferred();
}

}  // namespace dp_redfish
