#ifndef DP_REDFISH_ACCESS_ROLE_NAMES_HPP
#define DP_REDFISH_ACCESS_ROLE_NAMES_HPP

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "redfish/access/identity.hpp"

namespace dp_redfish {

/// All roles, the one with the most privileges first.
inline constexpr std::array all_roles = {roles::administrator, roles::operator_role,
                                         roles::read_only};

/// The role's name in resources and files: "Administrator", "Operator", "ReadOnly".
std::string role_name(roles role);

/// The role with this name, in its exact case; nothing when there is none.
std::optional<roles> find_role(std::string_view name);

/// The names of a role's privileges, as in the property AssignedPrivileges.
std::vector<std::string> privilege_names(roles role);

}  // namespace dp_redfish

#endif
