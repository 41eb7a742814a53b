#ifndef DP_TOOLS_DPCTL_NAMES_NAME_PATTERN_HPP
#define DP_TOOLS_DPCTL_NAMES_NAME_PATTERN_HPP

#include <string_view>

// Patterns in the place of names: "*" is any text, "?" is any character.

namespace dpctl {

/// Whether `text` contains "*" or "?".
bool is_pattern(std::string_view text);

/// Whether all of `text` matches `pattern`. The time is at most the product of their lengths.
bool matches_pattern(std::string_view text, std::string_view pattern);

}  // namespace dpctl

#endif
