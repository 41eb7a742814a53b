#ifndef DP_REDFISH_EVENTS_SERVICE_EVENT_HPP
#define DP_REDFISH_EVENTS_SERVICE_EVENT_HPP

#include <string>
#include <string_view>
#include <vector>

#include "support/json.hpp"

namespace dp_redfish {

/// Something that happened. It becomes a member of "Events" in an Event of Redfish.
struct service_event {
    std::string message_id;  ///< "SettingsEvents.1.0.PendingValueChanged"
    std::vector<std::string> arguments;
    std::string origin;         ///< the path of the resource that it is about; empty: none
    std::string resource_type;  ///< the schema of that resource: "Bios"
    std::string time;           ///< "2026-11-22T15:25:09+01:00"; empty: unknown
    std::string text;           ///< for a person
    std::string severity = "OK";
    std::string resolution{};
    /// Of the change record that it is made of; empty: it is not made of one. See `change_log`.
    std::string record_id{};
    /// Neighbours with the same text are sent together; empty: alone.
    std::string group{};
    /// Other members, which replace those that are made of the above.
    dp_support::json_value more{};

    /// The registry of the message: "SettingsEvents".
    [[nodiscard]] std::string_view registry_prefix() const;
};

/// An event with a message of `event_registries`.
service_event make_event(std::string_view registry, std::string_view message,
                         std::vector<std::string> arguments, std::string origin,
                         std::string resource_type, std::string time);

/// The event as a member of "Events", without its "MemberId", which is its position there. `id`
/// differs from that of all other events.
dp_support::json_value event_json(const service_event& event, const std::string& id);

}  // namespace dp_redfish

#endif
