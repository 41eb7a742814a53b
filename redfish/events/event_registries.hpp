#ifndef DP_REDFISH_EVENTS_EVENT_REGISTRIES_HPP
#define DP_REDFISH_EVENTS_EVENT_REGISTRIES_HPP

#include <span>
#include <string>
#include <string_view>

#include "support/json.hpp"

namespace dp_redfish {

/// A message of a registry. Its placeholders are %1, %2, ...
struct event_message {
    std::string_view id;
    std::string_view description;
    std::string_view text;
    std::string_view arguments;  ///< a letter for each: s for a string, n for a number
    std::string_view severity;
    std::string_view resolution;
};

/// A registry of the messages that events have.
struct event_registry {
    std::string_view prefix;   ///< "ResourceEvent"
    std::string_view version;  ///< "1.4.3"
    std::string_view name;
    std::string_view owner;
    std::span<const event_message> messages;  ///< those that the service uses, sorted by id

    [[nodiscard]] std::string id() const;  ///< "ResourceEvent.1.4.3"
    /// "ResourceEvent.1.4.ResourceChanged" for "ResourceChanged".
    [[nodiscard]] std::string message_id(std::string_view message) const;
    /// Null when there is no such message.
    [[nodiscard]] const event_message* find(std::string_view message) const;
};

/// DMTF's registries and the service's own, "SettingsEvents", sorted by prefix.
std::span<const event_registry> event_registries();

/// Null when there is none with this prefix.
const event_registry* event_registry_named(std::string_view prefix);

/// The registry as a resource, without "@odata.id".
dp_support::json_value event_registry_json(const event_registry& registry);

}  // namespace dp_redfish

#endif
