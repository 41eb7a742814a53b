#include "redfish/access/identity.hpp"

namespace dp_redfish {

// The privileges of the predefined roles of DSP0266.
bool has_privilege(roles role, privileges needed) {
    switch (needed) {
        case privileges::none:
        case privileges::login:
        case privileges::configure_self:
            return true;
        case privileges::configure_components:
            return role != roles::read_only;
        case privileges::configure_users:
        case privileges::configure_manager:
            return role == roles::administrator;
    }
    return false;
}

std::string account_path(const std::string& user) {
    return "/redfish/v1/AccountService/Accounts/" + user;
}

}  // namespace dp_redfish
