#ifndef DP_SERVICE_API_ATTRIBUTE_DESCRIPTION_HPP
#define DP_SERVICE_API_ATTRIBUTE_DESCRIPTION_HPP

#include <cstdint>
#include <string>

#include "bios/dp_api.h"

// The type of an attribute and the values that it accepts.

namespace dp_service {

bool is_numeric(const dp_attribute& attribute);
bool is_string(const dp_attribute& attribute);
bool is_enumeration(const dp_attribute& attribute);
bool is_read_only(const dp_attribute& attribute);

/// Whether the attribute's default is to have no value.
bool is_removed_by_default(const dp_attribute& attribute);

/// "integer", "string", "enumeration", or "free" for an attribute without range data.
const char* type_name(const dp_attribute& attribute);

/// The numbers that an attribute accepts.
struct number_limits {
    std::int64_t least = 0;
    std::int64_t greatest = 0;  ///< less than `least`: there is no such number
    std::int64_t step = 1;      ///< at least 1

    bool operator==(const number_limits&) const = default;
};

/// The texts that an attribute accepts. Lengths are in characters.
struct text_limits {
    std::int64_t least = 0;
    std::int64_t greatest = 0;  ///< 0: no limit
    std::string pattern;        ///< empty: any text

    bool operator==(const text_limits&) const = default;
};

/// The limits of a numeric attribute; without bounds every number of 32 bits.
number_limits number_limits_of(const dp_attribute& attribute);

/// The limits of a string attribute.
text_limits text_limits_of(const dp_attribute& attribute);

/// "0 to 100", or "no number".
std::string range_text(const number_limits& limits);

/// "4 to 16 characters", "exactly 4 characters", "at least 4 characters", "any length" or "no
/// text".
std::string length_text(const text_limits& limits);

/// The values that the attribute accepts, for a person: "Legacy, UEFI", "0 to 100 in steps of 5" or
/// "4 to 16 characters that match ^[A-Z]+$". Empty if there is no known restriction. Of many
/// choices only the first ones are named.
std::string allowed_values(const dp_attribute& attribute);

}  // namespace dp_service

#endif
