#ifndef DP_REDFISH_ACCESS_ACCOUNT_HPP
#define DP_REDFISH_ACCESS_ACCOUNT_HPP

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "redfish/access/access_policy.hpp"
#include "redfish/access/identity.hpp"

namespace dp_redfish {

/// An account of the accounts file.
struct account {
    std::string name;
    roles role = roles::read_only;
    bool enabled = true;
    std::string password_hash;  ///< of crypt(3)
    /// The user can do nothing but change the password.
    bool must_change_password = false;
};

/// What the accounts file contains.
struct account_data {
    static constexpr std::size_t accounts_limit = 64;

    std::vector<account> accounts;  ///< in the file's order; their names differ
    access_policy policy;

    /// The account with this name; null when there is none.
    [[nodiscard]] const account* find(std::string_view name) const {
        const auto found = std::find_if(accounts.begin(), accounts.end(),
                                        [&](const account& one) { return one.name == name; });
        return found == accounts.end() ? nullptr : &*found;
    }
};

}  // namespace dp_redfish

#endif
