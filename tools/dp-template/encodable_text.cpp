#include "tools/dp-template/encodable_text.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "bios/template_info.hpp"
#include "support/utf8.hpp"

namespace dp_tools {
namespace {

bool is_control(char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == '\x7F';
}

bool ends_something(char c) {
    return c == template_info::item_end || c == template_info::record_end;
}

/// The first character of `text`: its lead byte and the continuation bytes, valid UTF-8 or not.
std::string_view first_character(std::string_view text) {
    const bool leads = (static_cast<unsigned char>(text.front()) & 0xC0U) == 0xC0U;
    std::size_t length = 1;
    while (leads && length < text.size() && length < 4 &&
           dp_support::utf8::is_continuation(text[length])) {
        ++length;
    }
    return text.substr(0, length);
}

/// Similar characters for the common ones that contain a byte that cannot be encoded.
constexpr std::array<std::pair<std::string_view, std::string_view>, 9> similar_characters{{
    {"\xC2\xA7", "S"},      // section sign
    {"\xC3\x95", "O"},      // O with tilde
    {"\xC3\xA7", "c"},      // c with cedilla
    {"\xC4\x95", "e"},      // e with breve
    {"\xC4\xA7", "h"},      // h with stroke
    {"\xC5\x95", "r"},      // r with acute
    {"\xC5\xA7", "t"},      // t with stroke
    {"\xE2\x80\x95", "-"},  // horizontal bar
    {"\xE2\x80\xA7", "-"},  // hyphenation point
}};

std::string_view similar_character(std::string_view character) {
    const auto* const found =
        std::find_if(similar_characters.begin(), similar_characters.end(),
                     [&](const auto& candidate) { return candidate.first == character; });
    return found == similar_characters.end() ? "?" : found->second;
}

std::string hex_byte(char c) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    const auto value = static_cast<unsigned char>(c);
    return {digits[value >> 4U], digits[value & 0xFU]};
}

std::string ending_byte_problem(char c) {
    return "contains the byte " + hex_byte(c) +
           (c == template_info::item_end ? ", which ends an item" : ", which ends a record") +
           " of the template";
}

}  // namespace

std::string name_problem(std::string_view name) {
    if (name.empty()) {
        return "is empty";
    }
    for (const char c : name) {
        if (c == ' ') {
            return "contains a space";
        }
        if (c == '.') {
            return "contains a dot, which separates the parts of a setting's name";
        }
        if (is_control(c)) {
            return "contains the control character " + hex_byte(c);
        }
        if (ends_something(c)) {
            return ending_byte_problem(c);
        }
    }
    return "";
}

std::string value_problem(std::string_view value) {
    const auto* const found =
        std::find_if(value.begin(), value.end(), [](char c) { return is_control(c) && c != '\t'; });
    return found == value.end() ? "" : "contains the control character " + hex_byte(*found);
}

std::string item_problem(std::string_view text) {
    const auto* const found = std::find_if(text.begin(), text.end(), ends_something);
    return found == text.end() ? value_problem(text) : ending_byte_problem(*found);
}

std::string encodable_description(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const auto character = first_character(text);
        text.remove_prefix(character.size());
        if (is_control(character.front())) {
            result += ' ';
        } else if (std::any_of(character.begin(), character.end(), ends_something)) {
            result += similar_character(character);
        } else {
            result += character;
        }
    }
    return result;
}

std::string collection_name(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const auto character = first_character(text);
        text.remove_prefix(character.size());
        const char c = character.front();
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                           (c >= '0' && c <= '9') || c == '_' || c == '-';
        const bool non_ascii = character.size() > 1 &&
                               std::none_of(character.begin(), character.end(), ends_something);
        if (plain || non_ascii) {
            result += character;
        }
    }
    return result;
}

std::string quoted_for_message(std::string_view text) {
    constexpr std::size_t longest = 60;
    std::string result = "\"";
    std::size_t taken = 0;
    while (taken < text.size() && taken < longest) {
        const auto character = first_character(text.substr(taken));
        taken += character.size();
        if (is_control(character.front())) {
            result += "\\x" + hex_byte(character.front());
        } else {
            result += character;
        }
    }
    return result + (taken < text.size() ? "...\"" : "\"");
}

}  // namespace dp_tools
