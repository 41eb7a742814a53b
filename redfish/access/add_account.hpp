#ifndef DP_REDFISH_ACCESS_ADD_ACCOUNT_HPP
#define DP_REDFISH_ACCESS_ADD_ACCOUNT_HPP

#include <string>

#include "redfish/access/access_environment.hpp"
#include "redfish/access/identity.hpp"
#include "redfish/access/secret_text.hpp"
#include "support/result.hpp"

namespace dp_redfish {

/// Reads a new password. From a terminal it is read twice, without echo, after a prompt on
/// `prompts`; otherwise it is the first line. Failure when it cannot become a password, with the
/// rule that it breaks.
/// @param in       an open descriptor
/// @param prompts  an open descriptor
dp_support::result<secret_text> read_new_password(int in, int prompts);

/// Adds an account to an accounts file, which is made if there is none. If the account exists, it
/// gets the password and the role and is enabled. A service that uses the file notices it.
/// @param hash_cost  as in `hash_password`
dp_support::result<> add_account(const std::string& accounts_path, const std::string& name,
                                 roles role, const secret_text& password,
                                 const access_environment& environment, unsigned hash_cost = 0);

}  // namespace dp_redfish

#endif
