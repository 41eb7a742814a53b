#ifndef DP_REDFISH_RESOURCES_SYSTEM_RESOURCES_HPP
#define DP_REDFISH_RESOURCES_SYSTEM_RESOURCES_HPP

#include "redfish/model/server_model.hpp"
#include "redfish/protocol/route_table.hpp"

namespace dp_redfish {

/// Adds the server with its action Reset, which makes pending values current. The model must
/// outlive the routes.
void add_system_routes(route_table& routes, server_model& model);

}  // namespace dp_redfish

#endif
