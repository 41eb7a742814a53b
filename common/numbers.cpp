#include "common/numbers.hpp"

#include <limits>
#include <type_traits>

#include "common/white_space.hpp"

namespace dp {
namespace {

constexpr unsigned no_digit = 99;

unsigned digit_of(char c) {
    if (c >= '0' && c <= '9') {
        return static_cast<unsigned>(c - '0');
    }
    if (c >= 'a' && c <= 'f') {
        return static_cast<unsigned>(c - 'a') + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return static_cast<unsigned>(c - 'A') + 10;
    }
    return no_digit;
}

template <class Integer>
parsed_number<Integer> parse(std::string_view text, number_base base) {
    using limits = std::numeric_limits<Integer>;
    if (text.size() == 1 && text[0] >= '0' && text[0] <= '9') {
        // Fast path for one digit, as most numbers in files are.
        return {static_cast<Integer>(text[0] - '0'), true};
    }
    const unsigned radix = base == number_base::hexadecimal ? 16 : 10;
    std::size_t at = 0;
    while (at < text.size() && is_space(text[at])) {
        ++at;
    }
    const bool negative = at < text.size() && text[at] == '-';
    if (at < text.size() && (text[at] == '-' || text[at] == '+')) {
        ++at;
    }
    bool digits = false;
    // After the prefix "0x" there must be digits; without an "x", the "0" is itself a digit.
    if (radix == 16 && at + 1 < text.size() && text[at] == '0' &&
        (text[at + 1] == 'x' || text[at + 1] == 'X')) {
        at += 2;
    }
    // The magnitude of a negative signed number may exceed the type's maximum by 1.
    const std::uint64_t greatest = static_cast<std::uint64_t>(limits::max()) +
                                   (std::is_signed_v<Integer> && negative ? 1U : 0U);
    std::uint64_t magnitude = 0;
    bool too_big = false;
    for (; at < text.size(); ++at) {
        const unsigned digit = digit_of(text[at]);
        if (digit >= radix) {
            break;
        }
        digits = true;
        if (!too_big) {
            magnitude = magnitude * radix + digit;
            too_big = magnitude > greatest;
        }
    }
    if (!digits) {
        return {0, false};
    }
    if (too_big) {
        return {std::is_signed_v<Integer> && negative ? limits::min() : limits::max(), false};
    }
    // Unsigned arithmetic, so that a minus sign wraps an unsigned number around.
    const auto word = static_cast<std::uint32_t>(magnitude);
    return {static_cast<Integer>(negative ? 0U - word : word), true};
}

}  // namespace

parsed_number<std::int32_t> parse_signed(std::string_view text, number_base base) {
    return parse<std::int32_t>(text, base);
}

parsed_number<std::uint32_t> parse_unsigned(std::string_view text, number_base base) {
    return parse<std::uint32_t>(text, base);
}

}  // namespace dp
