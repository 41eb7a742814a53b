#ifndef DP_REDFISH_RESOURCES_EVENT_RESOURCES_HPP
#define DP_REDFISH_RESOURCES_EVENT_RESOURCES_HPP

#include "redfish/events/event_service.hpp"
#include "redfish/model/server_model.hpp"
#include "redfish/protocol/route_table.hpp"

namespace dp_redfish {

/// Adds the service of events with its stream and the subscriptions, which are the open streams.
/// Both must outlive the routes.
void add_event_routes(route_table& routes, server_model& model, event_service& events);

}  // namespace dp_redfish

#endif
