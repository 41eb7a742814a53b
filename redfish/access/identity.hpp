#ifndef DP_REDFISH_ACCESS_IDENTITY_HPP
#define DP_REDFISH_ACCESS_IDENTITY_HPP

#include <cstdint>
#include <string>

namespace dp_redfish {

/// What a user may do. The privileges of a role include those of the roles after it.
enum class roles : std::uint8_t { administrator, operator_role, read_only };

/// A privilege that an operation needs, as the Redfish privilege registry names them.
enum class privileges : std::uint8_t {
    none,  ///< anybody, without a login
    login,
    configure_self,
    configure_components,
    configure_users,
    configure_manager,
};

/// Who sends a request.
struct identity {
    std::string user;  ///< empty: nobody is logged in
    roles role = roles::read_only;
    std::string session_id;  ///< empty: the request has its own user name and password
    /// The user can do nothing but change the password.
    bool must_change_password = false;

    [[nodiscard]] bool is_logged_in() const { return !user.empty(); }
};

/// Whether a user with this role has the privilege.
bool has_privilege(roles role, privileges needed);

/// The path of a user's account.
std::string account_path(const std::string& user);

}  // namespace dp_redfish

#endif
