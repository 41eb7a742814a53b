#include "redfish/protocol/message_registry.hpp"

#include <algorithm>
#include <utility>

namespace dp_redfish {
namespace {

using dp_support::json_value;

json_value message_entry(const registry_message& known) {
    json_value types = json_value::array();
    for (const char type : known.arguments) {
        types.push_back(type == 'n' ? "number" : "string");
    }
    json_value entry = json_value::object({{"Description", known.description},
                                           {"Message", known.text},
                                           {"Severity", known.severity},
                                           {"MessageSeverity", known.severity},
                                           {"NumberOfArgs", known.arguments.size()}});
    if (!types.items.empty()) {
        entry.set("ParamTypes", std::move(types));
    }
    entry.set("Resolution", known.resolution);
    return entry;
}

}  // namespace

std::string message_registry::id() const {
    return std::string(prefix) + '.' + std::string(version);
}

std::string message_registry::message_id(std::string_view message) const {
    return std::string(prefix) + '.' + std::string(version.substr(0, version.rfind('.'))) + '.' +
           std::string(message);
}

const registry_message* message_registry::find(std::string_view message) const {
    const auto found =
        std::lower_bound(messages.begin(), messages.end(), message,
                         [](const registry_message& m, std::string_view id) { return m.id < id; });
    return found != messages.end() && found->id == message ? &*found : nullptr;
}

json_value message_registry_json(const message_registry& registry) {
    json_value messages = json_value::object();
    for (const auto& known : registry.messages) {
        messages.set(known.id, message_entry(known));
    }
    return json_value::object({{"@odata.type", "#MessageRegistry.v1_7_0.MessageRegistry"},
                               {"Id", registry.id()},
                               {"Name", registry.name},
                               {"Description", registry.description},
                               {"Language", "en"},
                               {"RegistryPrefix", registry.prefix},
                               {"RegistryVersion", registry.version},
                               {"OwningEntity", registry.owner},
                               {"Messages", std::move(messages)}});
}

}  // namespace dp_redfish
