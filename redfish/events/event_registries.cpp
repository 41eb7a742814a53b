#include "redfish/events/event_registries.hpp"

#include <algorithm>
#include <array>

#include "redfish/protocol/messages.hpp"

namespace dp_redfish {
namespace {

// DMTF's messages, word for word. All lists are sorted by id.
constexpr std::array resource_messages = std::to_array<registry_message>({
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

constexpr std::array task_messages = std::to_array<registry_message>({
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

constexpr std::array settings_messages = std::to_array<registry_message>({
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

constexpr std::string_view purpose = "The messages that this service uses";

constexpr message_registry resource_events{
    "ResourceEvent", "1.4.3", "Resource Event Message Registry",
    purpose,         "DMTF",  resource_messages};
constexpr message_registry settings_events{
    "SettingsEvents", "1.0.0",       "Settings Event Message Registry",
    purpose,          "dp_redfishd", settings_messages};
constexpr message_registry task_events{"TaskEvent", "1.0.5", "Task Event Message Registry",
                                       purpose,     "DMTF",  task_messages};

const std::array<message_registry, 4>& all_registries() {
    static const std::array<message_registry, 4> all{base_registry(), resource_events,
                                                     settings_events, task_events};
    return all;
}

}  // namespace

std::span<const message_registry> event_registries() {
    return all_registries();
}

const message_registry* event_registry_named(std::string_view prefix) {
    const auto& all = all_registries();
    const auto* const found =
        std::find_if(all.begin(), all.end(),
                     [&](const message_registry& each) { return each.prefix == prefix; });
    return found == all.end() ? nullptr : found;
}

}  // namespace dp_redfish
