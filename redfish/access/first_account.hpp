#ifndef DP_REDFISH_ACCESS_FIRST_ACCOUNT_HPP
#define DP_REDFISH_ACCESS_FIRST_ACCOUNT_HPP

#include <string>
#include <string_view>

#include "redfish/access/access_environment.hpp"
#include "redfish/access/secret_text.hpp"
#include "support/result.hpp"

namespace dp_redfish {

/// The administrator that a service without an accounts file starts with.
inline constexpr std::string_view first_account_name = "admin";

/// The file with the generated password of the first account: one line, mode 0600. It is removed
/// when that account gets another password or is deleted.
std::string first_password_path(const std::string& accounts_path);

void remove_first_password(const std::string& accounts_path);

/// A random password for a person to type: 25 letters and digits in groups of five.
dp_support::result<secret_text> random_password(const access_environment& environment);

/// If there is nothing at `accounts_path`, makes the accounts file with the first account and
/// writes its random password to `first_password_path`. Makes the folder, for this user alone, if
/// it is missing. True when it made the account: the caller then reports where the password is.
/// Otherwise removes the file of the first password if the account has another one.
/// @param hash_cost  as in `hash_password`
dp_support::result<bool> make_first_account(const std::string& accounts_path,
                                            const access_environment& environment,
                                            unsigned hash_cost = 0);

}  // namespace dp_redfish

#endif
