#ifndef DP_COMMON_NUMBERS_HPP
#define DP_COMMON_NUMBERS_HPP

#include <cstdint>
#include <string_view>

namespace dp {

/// What a standard input stream would make of a text.
template <class Integer>
struct parsed_number {
    /// What the stream stores: the number; 0 without digits; the nearest end of the type's range
    /// (for unsigned types always the greatest value) when the number does not fit.
    Integer value;
    /// Whether the extraction succeeded.
    bool ok;
};

enum class number_base { decimal, hexadecimal };

/// Reads a number exactly as `std::istream >> Integer` does in the "C" locale, without a stream:
/// leading white space is skipped, a sign is taken (an unsigned number with a minus sign wraps
/// around), "0x" may lead a hexadecimal number, and reading stops at the first byte that does not
/// belong. This is the one place where the library turns text into numbers.
parsed_number<std::int32_t> parse_signed(std::string_view text,
                                         number_base base = number_base::decimal);
parsed_number<std::uint32_t> parse_unsigned(std::string_view text,
                                            number_base base = number_base::decimal);

}  // namespace dp

#endif
