#include "redfish/http/request_target.hpp"

#include <algorithm>
#include <cstddef>
#include <optional>

#include "support/ascii_case.hpp"
#include "support/utf8.hpp"

namespace dp_redfish {
namespace {

using dp_support::failure;
using dp_support::result;

std::optional<unsigned> hexadecimal_digit(char c) {
    if (c >= '0' && c <= '9') {
        return static_cast<unsigned>(c - '0');
    }
    const char lower = dp_support::lower_case(c);
    if (lower >= 'a' && lower <= 'f') {
        return static_cast<unsigned>(lower - 'a') + 10U;
    }
    return std::nullopt;
}

bool is_control(char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
}

// Decodes a part of the target. `refused` are characters that must not be the result of an
// encoding.
result<std::string> percent_decoded(std::string_view text, bool plus_is_space,
                                    std::string_view refused) {
    std::string decoded;
    decoded.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (c == '%') {
            const auto high = i + 1 < text.size() ? hexadecimal_digit(text[i + 1]) : std::nullopt;
            const auto low = i + 2 < text.size() ? hexadecimal_digit(text[i + 2]) : std::nullopt;
            if (!high || !low) {
                return failure{"the target has a '%' without two hexadecimal digits"};
            }
            c = static_cast<char>(*high << 4U | *low);
            i += 2;
            if (refused.find(c) != std::string_view::npos) {
                return failure{"the target has an encoded slash or backslash"};
            }
        } else if (c == '+' && plus_is_space) {
            c = ' ';
        }
        if (is_control(c)) {
            return failure{"the target has a control character"};
        }
        decoded += c;
    }
    if (!dp_support::utf8::count_characters(decoded)) {
        return failure{"the target is not UTF-8"};
    }
    return decoded;
}

// The rest of `text` after its part up to `end`, which is returned; all of it without `end`.
std::string_view take_until(std::string_view& text, char end) {
    const std::size_t length = std::min(text.find(end), text.size());
    const std::string_view taken = text.substr(0, length);
    text.remove_prefix(std::min(length + 1, text.size()));
    return taken;
}

result<std::string> decoded_path(std::string_view text) {
    auto path = percent_decoded(text, false, "/\\");
    if (!path) {
        return path;
    }
    if (path->find('\\') != std::string::npos) {
        return failure{"the path has a backslash"};
    }
    std::string_view rest = *path;
    while (!rest.empty()) {
        const std::string_view segment = take_until(rest, '/');
        if (segment == "." || segment == "..") {
            return failure{"the path has a segment '.' or '..'"};
        }
    }
    return path;
}

}  // namespace

result<request_target> request_target::parse(std::string_view text) {
    request_target target;
    if (std::any_of(text.begin(), text.end(),
                    [](char c) { return c == ' ' || static_cast<unsigned char>(c) >= 0x7f; })) {
        return failure{"the target has characters that must be encoded"};
    }
    if (text.find('#') != std::string_view::npos) {
        return failure{"the target has a fragment"};
    }
    if (!text.empty() && text.front() != '/') {
        const std::size_t end = text.find("://");
        const std::string scheme =
            end == std::string_view::npos ? "" : dp_support::lower_case(text.substr(0, end));
        if (scheme != "http" && scheme != "https") {
            return failure{"the target is not a path"};
        }
        text.remove_prefix(end + 3);
        const std::size_t length = std::min(text.find_first_of("/?"), text.size());
        target.authority = text.substr(0, length);
        text.remove_prefix(length);
        if (target.authority.empty()) {
            return failure{"the target has no host"};
        }
    } else if (text.empty()) {
        return failure{"the target is empty"};
    }
    const auto path = decoded_path(take_until(text, '?'));
    if (!path) {
        return path.error();
    }
    target.path = path->empty() ? "/" : *path;
    while (!text.empty()) {
        std::string_view value = take_until(text, '&');
        if (value.empty()) {
            continue;
        }
        auto name = percent_decoded(take_until(value, '='), true, "");
        auto decoded = percent_decoded(value, true, "");
        if (!name || !decoded) {
            return name ? decoded.error() : name.error();
        }
        target.query.emplace_back(*std::move(name), *std::move(decoded));
    }
    return target;
}

}  // namespace dp_redfish
