#ifndef DP_SUPPORT_DECIMAL_HPP
#define DP_SUPPORT_DECIMAL_HPP

#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>

/// Decimal numbers without leading or trailing other characters.
namespace dp_support::decimal {

/// Whether `text` is one or more digits and nothing else.
inline bool is_digits(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

/// The number that all of `text` is; nothing when it is not one, or when it is out of the range of
/// `Number`. Signed types accept a minus sign, no type accepts a plus sign or white space.
template <class Number>
std::optional<Number> parse(std::string_view text) {
    Number number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

}  // namespace dp_support::decimal

#endif
