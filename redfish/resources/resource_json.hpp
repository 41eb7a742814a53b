#ifndef DP_REDFISH_RESOURCES_RESOURCE_JSON_HPP
#define DP_REDFISH_RESOURCES_RESOURCE_JSON_HPP

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "support/json.hpp"

namespace dp_redfish {

/// A reference to another resource.
dp_support::json_value reference(std::string path);

/// The members that every resource has; the schema is one of `used_schemas`.
dp_support::json_value start_resource(std::string path, std::string_view schema, std::string id,
                                      std::string name);

/// A collection with references to its members.
dp_support::json_value collection_resource(std::string path, std::string_view schema,
                                           std::string name,
                                           const std::vector<std::string>& members);

/// Adds a member to an object that has none of that name, at constant cost.
void append_member(dp_support::json_value& object, std::string_view name,
                   dp_support::json_value value);

/// A time in the form of Redfish, in UTC: "2026-11-22T14:25:09Z".
std::string time_text(std::int64_t seconds_since_1970);
/// The present time in that form.
std::string time_now_text();

}  // namespace dp_redfish

#endif
