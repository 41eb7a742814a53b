#ifndef DP_COMMON_NUMBERS_HPP
#define DP_COMMON_NUMBERS_HPP

#include <cstdint>
#include <string_view>

namespace dp {

/// The result that a standard input stream would give for a text.
template <class Integer>
struct parsed_number {
    /// The value that the stream stores: the number; 0 without digits; the nearest limit of the
    /// type (for unsigned types always the maximum) when the number does not fit.
    Integer value;
    /// Whether the extraction succeeded.
    bool ok;
};

enum class number_base { decimal, hexadecimal };

/// Reads a number exactly as `std::istream >> Integer` does in the "C" locale, without a stream:
/// skips leading white space, takes a sign (a minus sign wraps an unsigned number around), takes a
/// "0x" prefix of a hexadecimal number, and stops at the first byte that is not part of the number.
/// The library converts every number in a text with these two functions.
parsed_number<std::int32_t> parse_signed(std::string_view text,
                                         number_base base = number_base::decimal);
parsed_number<std::uint32_t> parse_unsigned(std::string_view text,
                                            number_base base = number_base::decimal);

}  // namespace dp

#endif
