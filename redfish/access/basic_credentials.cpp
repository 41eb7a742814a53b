#include "redfish/access/basic_credentials.hpp"

#include <cstddef>
#include <cstdint>

#include "redfish/access/text_rules.hpp"
#include "support/ascii_case.hpp"

namespace dp_redfish {
namespace {

// The bytes of a base64 text (RFC 4648, section 4), with its padding; nothing if it is malformed.
std::optional<secret_text> decode_base64(std::string_view text) {
    constexpr std::string_view alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    if (text.size() % 4 != 0) {
        return std::nullopt;
    }
    std::size_t padding = 0;
    while (padding < 2 && text.ends_with('=')) {
        text.remove_suffix(1);
        ++padding;
    }
    secret_text bytes(text.size() * 3 / 4);
    char* next = bytes.data();
    std::uint32_t bits = 0;
    unsigned count = 0;
    for (const char c : text) {
        const auto value = alphabet.find(c);
        if (value == std::string_view::npos) {
            return std::nullopt;
        }
        bits = (bits << 6U | static_cast<std::uint32_t>(value)) & 0xFFFFU;
        count += 6;
        if (count >= 8) {
            count -= 8;
            *next++ = static_cast<char>(static_cast<unsigned char>(bits >> count));
        }
    }
    const bool has_spare_bits = (bits & ((1U << count) - 1U)) != 0;
    if (has_spare_bits) {
        return std::nullopt;
    }
    return bytes;
}

}  // namespace

std::optional<basic_credentials> read_basic_credentials(std::string_view authorization) {
    constexpr std::size_t most_bytes = 2048;
    constexpr std::string_view scheme = "basic ";
    if (authorization.size() > most_bytes ||
        dp_support::lower_case(authorization.substr(0, scheme.size())) != scheme) {
        return std::nullopt;
    }
    authorization.remove_prefix(scheme.size());
    const auto begin = authorization.find_first_not_of(' ');
    if (begin == std::string_view::npos) {
        return std::nullopt;
    }
    authorization.remove_prefix(begin);
    authorization = authorization.substr(0, authorization.find_last_not_of(" \t") + 1);
    const auto decoded = decode_base64(authorization);
    if (!decoded || !is_plain_text(decoded->view())) {
        return std::nullopt;
    }
    const std::string_view text = decoded->view();
    const auto colon = text.find(':');
    if (colon == std::string_view::npos) {
        return std::nullopt;
    }
    return basic_credentials{std::string(text.substr(0, colon)),
                             secret_text(text.substr(colon + 1))};
}

}  // namespace dp_redfish
