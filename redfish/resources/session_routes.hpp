#ifndef DP_REDFISH_RESOURCES_SESSION_ROUTES_HPP
#define DP_REDFISH_RESOURCES_SESSION_ROUTES_HPP

#include "redfish/access/password_access_control.hpp"
#include "redfish/protocol/route_table.hpp"

namespace dp_redfish {

/// SessionService and its sessions. A user sees and ends the own sessions, an administrator all.
/// @param access  must outlive the routes
void add_session_routes(route_table& routes, password_access_control& access);

}  // namespace dp_redfish

#endif
