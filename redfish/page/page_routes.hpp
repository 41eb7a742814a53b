#ifndef DP_REDFISH_PAGE_PAGE_ROUTES_HPP
#define DP_REDFISH_PAGE_PAGE_ROUTES_HPP

#include "redfish/protocol/route_table.hpp"

namespace dp_redfish {

/// Adds the setup page: "/" is the page, "/page/NAME" its other files. Anybody may read them; what
/// the page shows it gets from the resources, after a login.
void add_page_routes(route_table& routes);

}  // namespace dp_redfish

#endif
