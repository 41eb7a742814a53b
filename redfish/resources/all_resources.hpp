#ifndef DP_REDFISH_RESOURCES_ALL_RESOURCES_HPP
#define DP_REDFISH_RESOURCES_ALL_RESOURCES_HPP

#include "redfish/model/server_model.hpp"
#include "redfish/protocol/route_table.hpp"
#include "redfish/resources/service_info.hpp"

namespace dp_redfish {

/// Adds everything that needs no sessions and accounts:
///
///     server_model model;
///     route_table routes;
///     add_server_routes(routes, model, {.version = "1.0"});
///     gateway handler(routes, access);
///
/// The model must outlive the routes.
void add_server_routes(route_table& routes, server_model& model, const service_info& info);

}  // namespace dp_redfish

#endif
