#ifndef DP_REDFISH_RESOURCES_ACCOUNT_ROUTES_HPP
#define DP_REDFISH_RESOURCES_ACCOUNT_ROUTES_HPP

#include "redfish/access/password_access_control.hpp"
#include "redfish/protocol/route_table.hpp"

namespace dp_redfish {

/// AccountService with its accounts and roles. Administrators see and change all accounts; other
/// users see the own one and change its password.
/// @param access  must outlive the routes
void add_account_routes(route_table& routes, password_access_control& access);

}  // namespace dp_redfish

#endif
