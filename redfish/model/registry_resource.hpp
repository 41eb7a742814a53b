#ifndef DP_REDFISH_MODEL_REGISTRY_RESOURCE_HPP
#define DP_REDFISH_MODEL_REGISTRY_RESOURCE_HPP

#include <string>

#include "redfish/model/server_snapshot.hpp"
#include "support/json.hpp"

namespace dp_redfish {

/// The id of the registry that is made from a template.
inline constexpr const char* template_registry_id = "BiosAttributeRegistry.1.0.0";

/// `id` as the segment of a path: other characters than letters, digits, ".", "-" and "_" become
/// "_".
std::string registry_segment(const std::string& id);

/// The path of the AttributeRegistry resource whose id this is.
std::string registry_path(const std::string& id);

/// The registry that was installed with a template, as a resource: members that the schema requires
/// and that it lacks are added.
dp_support::json_value installed_registry(dp_support::json_value root);

/// A registry of what the template says about the settings, without dependencies.
dp_support::json_value registry_of_template(const settings_catalog& catalog);

}  // namespace dp_redfish

#endif
