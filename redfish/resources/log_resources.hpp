#ifndef DP_REDFISH_RESOURCES_LOG_RESOURCES_HPP
#define DP_REDFISH_RESOURCES_LOG_RESOURCES_HPP

#include "redfish/model/server_model.hpp"
#include "redfish/protocol/route_table.hpp"

namespace dp_redfish {

/// Adds the log of the changes of settings. The model must outlive the routes.
void add_log_routes(route_table& routes, server_model& model);

}  // namespace dp_redfish

#endif
