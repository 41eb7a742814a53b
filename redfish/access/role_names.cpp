#include "redfish/access/role_names.hpp"

#include <utility>

namespace dp_redfish {

std::string role_name(roles role) {
    switch (role) {
        case roles::administrator:
            return "Administrator";
        case roles::operator_role:
            return "Operator";
        case roles::read_only:
            break;
    }
    return "ReadOnly";
}

std::optional<roles> find_role(std::string_view name) {
    for (const roles role : all_roles) {
        if (role_name(role) == name) {
            return role;
        }
    }
    return std::nullopt;
}

std::vector<std::string> privilege_names(roles role) {
    constexpr std::array<std::pair<privileges, const char*>, 5> names = {{
        {privileges::login, "Login"},
        {privileges::configure_manager, "ConfigureManager"},
        {privileges::configure_users, "ConfigureUsers"},
        {privileges::configure_components, "ConfigureComponents"},
        {privileges::configure_self, "ConfigureSelf"},
    }};
    std::vector<std::string> result;
    for (const auto& [privilege, name] : names) {
        if (has_privilege(role, privilege)) {
            result.emplace_back(name);
        }
    }
    return result;
}

}  // namespace dp_redfish
