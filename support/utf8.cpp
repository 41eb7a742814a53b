#include "support/utf8.hpp"

namespace dp_support::utf8 {

bool is_continuation(char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

std::size_t sequence_length(char lead) {
    const auto byte = static_cast<unsigned char>(lead);
    if (byte < 0x80) {
        return 1;
    }
    if (byte < 0xC2 || byte > 0xF4) {
        return 0;
    }
    if (byte < 0xE0) {
        return 2;
    }
    return byte < 0xF0 ? 3 : 4;
}

character first_character(std::string_view text) {
    const std::size_t length = text.empty() ? 0 : sequence_length(text.front());
    if (length == 0 || length > text.size()) {
        return {};
    }
    const auto lead = static_cast<unsigned char>(text.front());
    if (length == 1) {
        return {lead, 1};
    }
    char32_t code = lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if (!is_continuation(text[i])) {
            return {};
        }
        code = (code << 6U) | (static_cast<unsigned char>(text[i]) & 0x3FU);
    }
    const bool is_overlong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
    const bool is_surrogate = code >= 0xD800 && code < 0xE000;
    if (is_overlong || is_surrogate || code > 0x10FFFF) {
        return {};
    }
    return {code, length};
}

std::optional<std::size_t> count_characters(std::string_view text) {
    std::size_t count = 0;
    for (; !text.empty(); ++count) {
        const std::size_t length = first_character(text).length;
        if (length == 0) {
            return std::nullopt;
        }
        text.remove_prefix(length);
    }
    return count;
}

}  // namespace dp_support::utf8
