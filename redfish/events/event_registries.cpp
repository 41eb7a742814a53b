#include "redfish/events/event_registries.hpp"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

namespace dp_redfish {
namespace {

using dp_support::json_value;

// DMTF's messages, word for word. All lists are sorted by id.
constexpr std::array resource_messages = std::to_array<event_message>({
    {"ResourceChanged",
     "Indicates that one or more resource properties have changed.  This is not used whenever "
     "there is another event message for that specific change, such as when only the state has "
     "changed.",
     "One or more resource properties have changed.", "", "OK", "None."},
    {"ResourceStatusChangedCritical",
     "Indicates that the health of a resource has changed to Critical.",
     "The health of resource '%1' has changed to %2.", "ss", "Critical", "None."},
    {"ResourceStatusChangedOK", "Indicates that the health of a resource has changed to OK.",
     "The health of resource '%1' has changed to %2.", "ss", "OK", "None."},
    {"TestMessage", "A test message used to validate event delivery mechanisms.", "Test message.",
     "", "OK", "None."},
});

constexpr std::array task_messages = std::to_array<event_message>({
    {"TaskAborted", "A task has completed with errors.",
     "The task with Id '%1' has completed with errors.", "s", "Critical", "None."},
    {"TaskCancelled", "A task was cancelled.",
     "Work on the task with Id '%1' was halted prior to completion due to an explicit request.",
     "s", "Warning", "None."},
    {"TaskCompletedOK", "A task has completed.", "The task with Id '%1' has completed.", "s", "OK",
     "None."},
    {"TaskRemoved", "A task was removed.", "The task with Id '%1' was removed.", "s", "Warning",
     "None."},
    {"TaskStarted", "A task has started.", "The task with Id '%1' has started.", "s", "OK",
     "None."},
});

constexpr std::array settings_messages = std::to_array<event_message>({
    {"BiosUpdated", "Indicates that the BIOS was updated, and that the server restarted with it.",
     "The BIOS was updated from build '%1' to build '%2'.", "ss", "OK",
     "Read the attribute registry again."},
    {"PendingValueChanged", "Indicates that the pending value of an attribute changed.",
     "The pending value of the attribute '%1' changed from '%2' to '%3'.", "sss", "OK", "None."},
    {"PendingValueRemoved", "Indicates that an attribute has no pending value any more.",
     "The pending value '%2' of the attribute '%1' was removed.", "ss", "OK", "None."},
    {"PendingValueSet", "Indicates that an attribute without a pending value was given one.",
     "The attribute '%1' was given the pending value '%2'.", "ss", "OK", "None."},
    {"ServerRestarted", "Indicates that the server restarted, which made pending values current.",
     "The server restarted: pending values are current.", "", "OK", "None."},
});

constexpr std::array all_registries = std::to_array<event_registry>({
    {"ResourceEvent", "1.4.3", "Resource Event Message Registry", "DMTF", resource_messages},
    {"SettingsEvents", "1.0.0", "Settings Event Message Registry", "dp_redfishd",
     settings_messages},
    {"TaskEvent", "1.0.5", "Task Event Message Registry", "DMTF", task_messages},
});

json_value message_entry(const event_message& known) {
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

std::string event_registry::id() const {
    return std::string(prefix) + '.' + std::string(version);
}

std::string event_registry::message_id(std::string_view message) const {
    return std::string(prefix) + '.' + std::string(version.substr(0, version.rfind('.'))) + '.' +
           std::string(message);
}

const event_message* event_registry::find(std::string_view message) const {
    const auto found =
        std::lower_bound(messages.begin(), messages.end(), message,
                         [](const event_message& m, std::string_view id) { return m.id < id; });
    return found != messages.end() && found->id == message ? &*found : nullptr;
}

std::span<const event_registry> event_registries() {
    return all_registries;
}

const event_registry* event_registry_named(std::string_view prefix) {
    const auto* const found =
        std::find_if(all_registries.begin(), all_registries.end(),
                     [&](const event_registry& each) { return each.prefix == prefix; });
    return found == all_registries.end() ? nullptr : found;
}

json_value event_registry_json(const event_registry& registry) {
    json_value messages = json_value::object();
    for (const auto& known : registry.messages) {
        messages.set(known.id, message_entry(known));
    }
    return json_value::object({{"@odata.type", "#MessageRegistry.v1_7_0.MessageRegistry"},
                               {"Id", registry.id()},
                               {"Name", registry.name},
                               {"Description", "The messages that this service uses"},
                               {"Language", "en"},
                               {"RegistryPrefix", registry.prefix},
                               {"RegistryVersion", registry.version},
                               {"OwningEntity", registry.owner},
                               {"Messages", std::move(messages)}});
}

}  // namespace dp_redfish
