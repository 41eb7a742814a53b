#ifndef DP_REDFISH_PROGRAM_STATE_FOLDER_HPP
#define DP_REDFISH_PROGRAM_STATE_FOLDER_HPP

#include <string>

#include "support/result.hpp"

namespace dp_redfish {

/// Makes the folder for this user alone, or checks that it is so.
dp_support::result<> prepare_state_folder(const std::string& path);

/// Removes the temporary files that processes left there which were killed, such as a half-written
/// file of accounts. Nothing while another process changes the accounts.
void remove_left_files(const std::string& folder);

/// The identifier of this service, made at the first start: 8-4-4-4-12 hexadecimal digits.
dp_support::result<std::string> service_uuid(const std::string& state_folder);

}  // namespace dp_redfish

#endif
