#ifndef DP_SUPPORT_HEXADECIMAL_HPP
#define DP_SUPPORT_HEXADECIMAL_HPP

#include <span>
#include <string>

namespace dp_support {

/// The bytes as two lower-case hexadecimal digits each.
inline std::string hexadecimal_digits(std::span<const unsigned char> bytes) {
    constexpr const char* digits = "0123456789abcdef";
    std::string text;
    text.reserve(2 * bytes.size());
    for (const unsigned char byte : bytes) {
        text += digits[byte >> 4U];
        text += digits[byte & 0xFU];
    }
    return text;
}

}  // namespace dp_support

#endif
