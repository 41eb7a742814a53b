#ifndef DP_REDFISH_RESOURCES_ATTRIBUTE_VALUE_HPP
#define DP_REDFISH_RESOURCES_ATTRIBUTE_VALUE_HPP

#include <optional>
#include <string>
#include <vector>

#include "redfish/model/server_snapshot.hpp"
#include "support/json.hpp"

namespace dp_redfish {

/// A setting's value as JSON: a number or a Boolean if the attribute's type is one and the value
/// can be read as one, else a text. Null for a setting that has no value, and for a secret one.
dp_support::json_value attribute_json(const server_setting& setting,
                                      const std::optional<std::string>& value);

/// All values by the names of their settings.
dp_support::json_value attributes_json(const settings_catalog& catalog,
                                       const std::vector<std::optional<std::string>>& values);

/// Whether the texts `a` and `b` are the same value of the setting.
bool is_same_value(const server_setting& setting, const std::string& a,
                   const std::optional<std::string>& b);

}  // namespace dp_redfish

#endif
