#ifndef DP_REDFISH_RESOURCES_MANAGER_RESOURCES_HPP
#define DP_REDFISH_RESOURCES_MANAGER_RESOURCES_HPP

#include "redfish/protocol/route_table.hpp"
#include "redfish/resources/service_info.hpp"

namespace dp_redfish {

/// Adds the management controller. Its status says whether the settings service runs.
void add_manager_routes(route_table& routes, const service_info& info);

}  // namespace dp_redfish

#endif
