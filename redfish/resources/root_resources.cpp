#include "redfish/resources/root_resources.hpp"

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "redfish/protocol/call.hpp"
#include "redfish/protocol/messages.hpp"
#include "redfish/protocol/query_options.hpp"
#include "redfish/protocol/standard_answers.hpp"
#include "redfish/resources/resource_json.hpp"
#include "redfish/resources/resource_paths.hpp"
#include "redfish/resources/schemas.hpp"
#include "support/json.hpp"

namespace dp_redfish {
namespace {

using dp_support::json_value;

constexpr const char* redfish_version = "1.22.0";

// The resources that the root refers to.
struct root_member {
    std::string_view name;
    const char* path;
};

constexpr std::array root_members = std::to_array<root_member>({
    {"Systems", resource_paths::systems},
    {"Managers", resource_paths::managers},
    {"SessionService", resource_paths::session_service},
    {"AccountService", resource_paths::account_service},
    {"Registries", resource_paths::registries},
    {"JsonSchemas", resource_paths::json_schemas},
    {"Tasks", resource_paths::task_service},
    {"EventService", resource_paths::event_service},
});

json_value protocol_features() {
    return json_value::object(
        {{"ExpandQuery", json_value::object({{"ExpandAll", true},
                                             {"Levels", true},
                                             {"Links", true},
                                             {"MaxLevels", expansion::most_levels},
                                             {"NoLinks", true}})},
         {"SelectQuery", true},
         {"FilterQuery", false},
         {"OnlyMemberQuery", true},
         {"TopSkipQuery", true},
         {"ExcerptQuery", false},
         {"IncludeOriginOfConditionQuery", false},
         {"MultipleHTTPRequests", false},
         {"DeepOperations", json_value::object({{"DeepPATCH", false}, {"DeepPOST", false}})}});
}

json_value root_json(const service_info& info) {
    json_value body =
        start_resource(resource_paths::root, "ServiceRoot", "RootService", "Root Service");
    body.set("RedfishVersion", redfish_version);
    body.set("Product", "dp_redfishd " + info.version);
    if (!info.uuid.empty()) {
        body.set("UUID", info.uuid);
    }
    body.set("ProtocolFeaturesSupported", protocol_features());
    for (const auto& member : root_members) {
        body.set(member.name, reference(member.path));
    }
    body.set("Links",
             json_value::object({{"Sessions", reference(resource_paths::sessions)},
                                 {"ManagerProvidingService", reference(resource_paths::manager)}}));
    return body;
}

json_value odata_json() {
    json_value list = json_value::array();
    const auto add = [&](std::string_view name, const char* path) {
        list.push_back(json_value::object({{"name", name}, {"kind", "Singleton"}, {"url", path}}));
    };
    add("Service", "/redfish/v1/");
    for (const auto& member : root_members) {
        add(member.name, member.path);
    }
    add("Sessions", resource_paths::sessions);
    return json_value::object(
        {{"@odata.context", "/redfish/v1/$metadata"}, {"value", std::move(list)}});
}

// The schemas of the resources, as an OData metadata document.
std::string metadata_text() {
    std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<edmx:Edmx xmlns:edmx=\"http://docs.oasis-open.org/odata/ns/edmx\" Version=\"4.0\">\n";
    const auto include = [&](const std::string& file, const std::vector<std::string>& namespaces) {
        text += "  <edmx:Reference Uri=\"http://redfish.dmtf.org/schemas/v1/" + file + "\">\n";
        for (const auto& name : namespaces) {
            text += "    <edmx:Include Namespace=\"" + name + "\"";
            // The name that the Redfish specification requires for this one.
            text += name == "RedfishExtensions.v1_0_0" ? " Alias=\"Redfish\"/>\n" : "/>\n";
        }
        text += "  </edmx:Reference>\n";
    };
    for (const auto& schema : used_schemas()) {
        const std::string name(schema.name);
        std::vector<std::string> namespaces{name};
        if (name == "AttributeRegistry") {
            for (const auto& version : attribute_registry_versions()) {
                namespaces.push_back("AttributeRegistry." + version);
            }
        } else if (!schema.version.empty()) {
            namespaces.push_back(name + '.' + std::string(schema.version));
        }
        include(name + "_v1.xml", namespaces);
    }
    include("RedfishExtensions_v1.xml", {"RedfishExtensions.v1_0_0"});
    include("RedfishError_v1.xml", {"RedfishError", "RedfishError.v1_0_2"});
    text +=
        "  <edmx:DataServices>\n"
        "    <Schema xmlns=\"http://docs.oasis-open.org/odata/ns/edm\" Namespace=\"Service\">\n"
        "      <EntityContainer Name=\"Service\" "
        "Extends=\"ServiceRoot.v1_20_0.ServiceContainer\"/>\n"
        "    </Schema>\n"
        "  </edmx:DataServices>\n"
        "</edmx:Edmx>\n";
    return text;
}

json_value schema_file_json(const used_schema& schema) {
    const std::string name(schema.name);
    json_value body = start_resource(std::string(resource_paths::json_schemas) + '/' + name,
                                     "JsonSchemaFile", name, name + " Schema File");
    body.set("Schema", odata_type(schema.name));
    body.set("Languages", std::vector<std::string>{"en"});
    const std::string type = odata_type(schema.name).substr(1);
    json_value locations = json_value::array();
    locations.push_back(
        json_value::object({{"Language", "en"},
                            {"PublicationUri", "http://redfish.dmtf.org/schemas/v1/" +
                                                   type.substr(0, type.rfind('.')) + ".json"}}));
    body.set("Location", std::move(locations));
    return body;
}

void answer_schema_file(const std::shared_ptr<call>& request) {
    for (const auto& schema : used_schemas()) {
        if (schema.name == request->parameters.front()) {
            return request->respond({.body = schema_file_json(schema)});
        }
    }
    request->respond(not_found_answer("JsonSchemaFile", request->parameters.front()));
}

json_value schema_files_json() {
    std::vector<std::string> members;
    for (const auto& schema : used_schemas()) {
        members.push_back(std::string(resource_paths::json_schemas) + '/' +
                          std::string(schema.name));
    }
    return collection_resource(resource_paths::json_schemas, "JsonSchemaFileCollection", "Schemas",
                               members);
}

}  // namespace

void add_root_routes(route_table& routes, const service_info& info) {
    const auto add = [&](const char* path, privileges needed, json_value body) {
        routes.add("GET", path, needed,
                   [body = std::move(body)](const std::shared_ptr<call>& request) {
                       request->respond({.body = body});
                   });
    };
    add("/redfish", privileges::none, json_value::object({{"v1", "/redfish/v1/"}}));
    add("/redfish/v1", privileges::none, root_json(info));
    add("/redfish/v1/odata", privileges::none, odata_json());
    routes.add("GET", "/redfish/v1/$metadata", privileges::none,
               [text = std::make_shared<const std::string>(metadata_text())](
                   const std::shared_ptr<call>& request) {
                   answer result;
                   result.text = text;
                   result.headers["Content-Type"] = "application/xml";
                   request->respond(std::move(result));
               });
    add(resource_paths::json_schemas, privileges::login, schema_files_json());
    routes.add("GET", std::string(resource_paths::json_schemas) + "/{}", privileges::login,
               answer_schema_file);
}

}  // namespace dp_redfish
