#ifndef DP_TOOLS_DPCTL_OUTPUT_PRINTABLE_TEXT_HPP
#define DP_TOOLS_DPCTL_OUTPUT_PRINTABLE_TEXT_HPP

#include <cstddef>
#include <string>
#include <string_view>

// Text from files, safe to show on a terminal.

namespace dpctl {

/// `text` with control characters, characters that change the writing direction, and bytes that are
/// not UTF-8 written out as "\x1b" or "\u{202e}".
std::string printable(std::string_view text);

/// `printable` text between double quotes.
std::string in_quotes(std::string_view text);

/// The number of terminal columns of `text`, which is `printable`.
std::size_t display_width(std::string_view text);

/// `text`, which is `printable`, with spaces added up to `width` columns.
std::string padded(std::string_view text, std::size_t width);

/// `text`, which is `printable`, in at most `width` columns: a longer one ends with "…".
std::string shortened(std::string_view text, std::size_t width);

/// `text` without an incomplete UTF-8 character at its end.
std::string_view without_partial_character(std::string_view text);

}  // namespace dpctl

#endif
