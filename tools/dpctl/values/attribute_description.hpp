#ifndef DP_TOOLS_DPCTL_VALUES_ATTRIBUTE_DESCRIPTION_HPP
#define DP_TOOLS_DPCTL_VALUES_ATTRIBUTE_DESCRIPTION_HPP

#include <cstdint>
#include <string>

#include "bios/dp_api.h"

// The type of an attribute and the values that it accepts.

namespace dpctl {

bool is_numeric(const dp_attribute& attribute);
bool is_string(const dp_attribute& attribute);
bool is_enumeration(const dp_attribute& attribute);
bool is_read_only(const dp_attribute& attribute);

/// Whether the attribute's default is to have no value.
bool is_removed_by_default(const dp_attribute& attribute);

/// "integer", "string", "enumeration", or "free" for an attribute without range data.
const char* type_name(const dp_attribute& attribute);

/// The greatest number that a numeric attribute accepts; without bounds the greatest of 32 bits.
std::uint32_t number_maximum(const dp_attribute& attribute);

/// The step of a numeric attribute, at least 1.
std::uint32_t number_step(const dp_attribute& attribute);

/// The range of a numeric attribute, for example "0 to 100".
std::string number_range(const dp_attribute& attribute);

/// The length of a string attribute: "4 to 16 characters", "exactly 4 characters", "at least 4
/// characters" or "any length".
std::string string_length(const dp_attribute& attribute);

/// The values that the attribute accepts, for a person: "Legacy, UEFI", "0 to 100 in steps of 5" or
/// "4 to 16 characters that match ^[A-Z]+$". Empty if there is no known restriction. Of many
/// choices only the first ones are named.
std::string allowed_values(const dp_attribute& attribute);

}  // namespace dpctl

#endif
