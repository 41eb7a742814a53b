#ifndef DP_REDFISH_ACCESS_ACCOUNTS_TEXT_HPP
#define DP_REDFISH_ACCESS_ACCOUNTS_TEXT_HPP

#include <string>
#include <string_view>

#include "redfish/access/account.hpp"
#include "support/result.hpp"

namespace dp_redfish {

/// Reads the text of an accounts file:
///
///     {
///       "format": 1,
///       "policy": {
///         "session_timeout": 1800,
///         "lockout_threshold": 5,
///         "lockout_duration": 300,
///         "lockout_reset_after": 300
///       },
///       "accounts": [
///         {"name": "admin", "role": "Administrator", "enabled": true, "password": "$y$..."}
///       ]
///     }
///
/// "policy" and each of its members may be missing, and "enabled", which is then true. Everything
/// else is required, and other members are not allowed. The reason of a failure names the line and
/// contains no hash.
dp_support::result<account_data> read_accounts_text(std::string_view text);

/// The text for `read_accounts_text`.
std::string write_accounts_text(const account_data& data);

}  // namespace dp_redfish

#endif
