#ifndef DP_REDFISH_PROTOCOL_SELECTION_HPP
#define DP_REDFISH_PROTOCOL_SELECTION_HPP

#include <string>
#include <vector>

#include "support/json.hpp"

namespace dp_redfish {

/// Removes the members of a resource that are not selected. A name is that of a member, or of one
/// within it, as "Status/Health". A member's annotations are selected with it; "@odata.id",
/// "@odata.type", "@odata.context" and "@odata.etag" of the resource always are.
void select_members(dp_support::json_value& resource, const std::vector<std::string>& names);

}  // namespace dp_redfish

#endif
