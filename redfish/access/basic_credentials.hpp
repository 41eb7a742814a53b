#ifndef DP_REDFISH_ACCESS_BASIC_CREDENTIALS_HPP
#define DP_REDFISH_ACCESS_BASIC_CREDENTIALS_HPP

#include <optional>
#include <string>
#include <string_view>

#include "redfish/access/secret_text.hpp"

namespace dp_redfish {

/// A user name and a password of the header field Authorization.
struct basic_credentials {
    std::string user;
    secret_text password;
};

/// Reads "Basic BASE64" as RFC 7617 has it, with UTF-8. Nothing for other schemes, for what is
/// malformed or has control characters, and for more than 2048 bytes.
std::optional<basic_credentials> read_basic_credentials(std::string_view authorization);

}  // namespace dp_redfish

#endif
