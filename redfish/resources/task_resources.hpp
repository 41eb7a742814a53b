#ifndef DP_REDFISH_RESOURCES_TASK_RESOURCES_HPP
#define DP_REDFISH_RESOURCES_TASK_RESOURCES_HPP

#include "redfish/protocol/route_table.hpp"

namespace dp_redfish {

/// Adds the service of tasks. No operation needs one: each is answered when it is done.
void add_task_routes(route_table& routes);

}  // namespace dp_redfish

#endif
