#ifndef DP_REDFISH_ACCESS_EXTERNAL_ACCOUNTS_HPP
#define DP_REDFISH_ACCESS_EXTERNAL_ACCOUNTS_HPP

#include <optional>
#include <string>
#include <vector>

#include "redfish/access/identity.hpp"
#include "redfish/access/secret_text.hpp"
#include "support/result.hpp"

namespace dp_redfish {

/// Accounts that the operating system keeps. They are read only here. The functions may wait for
/// other machines; they are called by one thread at a time.
class external_accounts {
  public:
    virtual ~external_accounts() = default;

    struct external_account {
        std::string name;
        roles role = roles::read_only;
    };

    /// The accounts that may log in and that can be listed, ordered by name.
    virtual std::vector<external_account> list() = 0;

    /// The role of a user; nothing if this one may not log in or does not exist.
    virtual std::optional<roles> role_of(const std::string& user) = 0;

    /// Whether the password is right. Failure when it cannot be decided now.
    virtual dp_support::result<bool> check(const std::string& user,
                                           const secret_text& password) = 0;
};

}  // namespace dp_redfish

#endif
