#ifndef DP_REDFISH_RESOURCES_BIOS_RESOURCES_HPP
#define DP_REDFISH_RESOURCES_BIOS_RESOURCES_HPP

#include "redfish/model/server_model.hpp"
#include "redfish/protocol/route_table.hpp"

namespace dp_redfish {

/// Adds the BIOS: its current values, its pending values, which PATCH changes, and its actions. The
/// model must outlive the routes.
void add_bios_routes(route_table& routes, server_model& model);

}  // namespace dp_redfish

#endif
