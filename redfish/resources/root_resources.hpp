#ifndef DP_REDFISH_RESOURCES_ROOT_RESOURCES_HPP
#define DP_REDFISH_RESOURCES_ROOT_RESOURCES_HPP

#include "redfish/protocol/route_table.hpp"
#include "redfish/resources/service_info.hpp"

namespace dp_redfish {

/// Adds the versions, the service root, the OData documents and the list of schemas.
void add_root_routes(route_table& routes, const service_info& info);

}  // namespace dp_redfish

#endif
