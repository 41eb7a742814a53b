#ifndef DP_SUPPORT_ASCII_CASE_HPP
#define DP_SUPPORT_ASCII_CASE_HPP

#include <algorithm>
#include <string>
#include <string_view>

// The case of ASCII letters, whatever the locale. Other characters are left as they are.

namespace dp_support {

constexpr char lower_case(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

inline std::string lower_case(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](char c) { return lower_case(c); });
    return result;
}

inline bool equal_ignoring_case(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return lower_case(x) == lower_case(y); });
}

}  // namespace dp_support

#endif
