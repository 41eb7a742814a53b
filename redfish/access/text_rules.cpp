#include "redfish/access/text_rules.hpp"

#include "support/utf8.hpp"

namespace dp_redfish {

bool is_plain_text(std::string_view text) {
    while (!text.empty()) {
        const auto first = dp_support::utf8::first_character(text);
        if (first.length == 0 || first.code < 0x20 || (first.code >= 0x7F && first.code <= 0x9F)) {
            return false;
        }
        text.remove_prefix(first.length);
    }
    return true;
}

bool is_user_name(std::string_view name) {
    constexpr std::string_view characters =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_.-@";
    constexpr std::string_view not_first = ".-@";
    return !name.empty() && name.size() <= greatest_user_name_length &&
           name.find_first_not_of(characters) == std::string_view::npos &&
           not_first.find(name.front()) == std::string_view::npos;
}

std::string quoted_for_log(std::string_view text) {
    constexpr std::string_view digits = "0123456789abcdef";
    constexpr std::size_t most_bytes = 64;
    std::string quoted = "\"";
    for (const char c : text.substr(0, most_bytes)) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            quoted += '\\';
            quoted += c;
        } else if (byte < 0x20 || byte > 0x7E) {
            quoted += "\\x";
            quoted += digits[byte >> 4U];
            quoted += digits[byte & 15U];
        } else {
            quoted += c;
        }
    }
    quoted += text.size() > most_bytes ? "...\"" : "\"";
    return quoted;
}

}  // namespace dp_redfish
