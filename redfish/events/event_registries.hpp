#ifndef DP_REDFISH_EVENTS_EVENT_REGISTRIES_HPP
#define DP_REDFISH_EVENTS_EVENT_REGISTRIES_HPP

#include <span>
#include <string_view>

#include "redfish/protocol/message_registry.hpp"

namespace dp_redfish {

/// The registries of the messages that answers and events have: DMTF's, of which "Base" is that of
/// answers and of some events, and the service's own, "SettingsEvents". Sorted by prefix.
std::span<const message_registry> event_registries();

/// Null when there is none with this prefix.
const message_registry* event_registry_named(std::string_view prefix);

}  // namespace dp_redfish

#endif
