#ifndef DP_REDFISH_ACCESS_TEXT_RULES_HPP
#define DP_REDFISH_ACCESS_TEXT_RULES_HPP

#include <cstddef>
#include <string>
#include <string_view>

namespace dp_redfish {

inline constexpr std::size_t greatest_user_name_length = 32;

/// Whether `text` is UTF-8 without control characters (U+0000 to U+001F, U+007F to U+009F).
bool is_plain_text(std::string_view text);

/// Whether `name` may be the name of an account: 1 to 32 ASCII letters, digits and the characters
/// "._-@", of which '.', '-' and '@' are not the first. Such a name needs no escaping in a URL.
bool is_user_name(std::string_view name);

/// `text` in double quotes for a line of a log: backslashes, quotes and bytes that are not
/// printable ASCII are escaped, and only the first 64 bytes are shown.
std::string quoted_for_log(std::string_view text);

}  // namespace dp_redfish

#endif
