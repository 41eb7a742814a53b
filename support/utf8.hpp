#ifndef DP_SUPPORT_UTF8_HPP
#define DP_SUPPORT_UTF8_HPP

#include <cstddef>
#include <optional>
#include <string_view>

namespace dp_support::utf8 {

/// A character of a text.
struct character {
    char32_t code = 0;
    std::size_t length = 0;  ///< bytes, 1 to 4; 0 when the text does not begin with a character
};

/// The first character of `text`. Overlong forms, surrogates, codes above U+10FFFF and incomplete
/// sequences are not characters; nor is the beginning of an empty text.
character first_character(std::string_view text);

/// The number of characters of `text`; nothing when it contains bytes that are not UTF-8.
std::optional<std::size_t> count_characters(std::string_view text);

/// Bytes of a character whose first byte is `lead`; 0 when no character begins with it.
std::size_t sequence_length(char lead);

/// Whether `c` is a character's second or later byte.
bool is_continuation(char c);

}  // namespace dp_support::utf8

#endif
