#ifndef DP_TOOLS_DPCTL_OUTPUT_TEXT_HPP
#define DP_TOOLS_DPCTL_OUTPUT_TEXT_HPP

#include <cstddef>
#include <string>
#include <string_view>

namespace dpctl {

/// `text` as it may be shown on a terminal: control characters, characters that turn the writing
/// direction, and bytes that are not UTF-8 are written out as "\x1b" or "\u{202e}".
std::string printable(std::string_view text);

/// `printable` text between double quotes.
std::string in_quotes(std::string_view text);

/// Columns that a terminal needs for `text`, which is `printable`.
std::size_t display_width(std::string_view text);

/// `text` without the beginning of a UTF-8 character that was cut off at its end.
std::string_view without_partial_character(std::string_view text);

/// Whether two texts are equal but for the case of ASCII letters.
bool equal_ignoring_case(std::string_view a, std::string_view b);

}  // namespace dpctl

#endif
