#ifndef DP_REDFISH_PROTOCOL_MESSAGE_REGISTRY_HPP
#define DP_REDFISH_PROTOCOL_MESSAGE_REGISTRY_HPP

#include <span>
#include <string>
#include <string_view>

#include "support/json.hpp"

namespace dp_redfish {

/// A message of a registry. Its placeholders are %1, %2, ...
struct registry_message {
    std::string_view id;
    std::string_view description;
    std::string_view text;
    std::string_view arguments;  ///< a letter for each: s for a string, n for a number
    std::string_view severity;
    std::string_view resolution;
};

/// A registry of messages.
struct message_registry {
    std::string_view prefix;   ///< "ResourceEvent"
    std::string_view version;  ///< "1.4.3"
    std::string_view name;
    std::string_view description;
    std::string_view owner;
    std::span<const registry_message> messages;  ///< those that the service uses, sorted by id

    [[nodiscard]] std::string id() const;  ///< "ResourceEvent.1.4.3"
    /// "ResourceEvent.1.4.ResourceChanged" for "ResourceChanged".
    [[nodiscard]] std::string message_id(std::string_view message) const;
    /// Null when there is no such message.
    [[nodiscard]] const registry_message* find(std::string_view message) const;
};

/// The registry as a resource, without "@odata.id".
dp_support::json_value message_registry_json(const message_registry& registry);

}  // namespace dp_redfish

#endif
