#include "redfish/resources/registry_resources.hpp"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "redfish/events/event_registries.hpp"
#include "redfish/model/registry_resource.hpp"
#include "redfish/protocol/call.hpp"
#include "redfish/protocol/etag.hpp"
#include "redfish/protocol/message_registry.hpp"
#include "redfish/protocol/standard_answers.hpp"
#include "redfish/resources/model_answers.hpp"
#include "redfish/resources/resource_json.hpp"
#include "redfish/resources/resource_paths.hpp"
#include "redfish/resources/schemas.hpp"
#include "redfish/resources/service_answer.hpp"
#include "support/json.hpp"

namespace dp_redfish {
namespace {

using dp_support::json_value;

std::string file_path(const std::string& segment) {
    return std::string(resource_paths::registries) + '/' + segment;
}

// The registry of messages with this id; null when there is none.
const message_registry* messages_named(const std::string& id) {
    for (const auto& registry : event_registries()) {
        if (registry.id() == id) {
            return &registry;
        }
    }
    return nullptr;
}

json_value registry_file_json(const std::string& segment, const std::string& registry,
                              const std::string& name, const std::string& language,
                              const std::string& uri) {
    json_value body = start_resource(file_path(segment), "MessageRegistryFile", segment, name);
    body.set("Registry", registry);
    body.set("Languages", std::vector<std::string>{language});
    json_value locations = json_value::array();
    json_value& location =
        locations.items.emplace_back(json_value::object({{"Language", language}, {"Uri", uri}}));
    const message_registry* const messages = messages_named(segment);
    if (messages != nullptr && messages->owner == "DMTF") {
        location.set("PublicationUri", "http://redfish.dmtf.org/registries/" + segment + ".json");
    }
    body.set("Location", std::move(locations));
    return body;
}

std::string segment_of(const server_snapshot& server) {
    return registry_segment(server.catalog->registry_id);
}

answer answer_files(const call& /*request*/, const server_snapshot& server) {
    std::vector<std::string> paths{file_path(segment_of(server))};
    for (const auto& registry : event_registries()) {
        paths.push_back(file_path(registry.id()));
    }
    return {.body = collection_resource(resource_paths::registries, "MessageRegistryFileCollection",
                                        "Registries", paths)};
}

answer answer_file(const call& request, const server_snapshot& server) {
    const std::string& wanted = request.parameters.front();
    if (const auto* const messages = messages_named(wanted)) {
        return {.body = registry_file_json(wanted, wanted.substr(0, wanted.rfind('.')),
                                           std::string(messages->name), "en",
                                           file_path(wanted) + '/' + wanted)};
    }
    if (wanted == segment_of(server)) {
        return {.body = registry_file_json(
                    wanted, server.catalog->registry_id, "BIOS Attribute Registry",
                    server.catalog->registry_language, registry_path(server.catalog->registry_id))};
    }
    return not_found_answer("MessageRegistryFile", wanted);
}

answer answer_registry(const call& request, const server_snapshot& server) {
    const std::string& file = request.parameters[0];
    const std::string& wanted = request.parameters[1];
    if (const auto* const messages = messages_named(wanted);
        messages != nullptr && file == wanted) {
        answer result{.body = message_registry_json(*messages)};
        result.body.set("@odata.id", file_path(wanted) + '/' + wanted);
        return result;
    }
    if (file == wanted && wanted == segment_of(server)) {
        answer result;
        result.text = server.catalog->registry_text;
        result.etag = etag_of_version(server.catalog->version);
        result.headers["Link"] = schema_link("AttributeRegistry");
        return result;
    }
    return not_found_answer("Registry", wanted);
}

}  // namespace

void add_registry_routes(route_table& routes, server_model& model) {
    const auto add = [&](const std::string& pattern,
                         answer (*make)(const call&, const server_snapshot&)) {
        routes.add("GET", pattern, privileges::login,
                   [&model, make](const std::shared_ptr<call>& request) {
                       answer_from_snapshot(model, request, "The server's registry",
                                            [request, make](const snapshot_pointer& server) {
                                                return make(*request, *server);
                                            });
                   });
    };
    add(resource_paths::registries, answer_files);
    add(file_path("{}"), answer_file);
    add(file_path("{}/{}"), answer_registry);
}

}  // namespace dp_redfish
