#ifndef DP_SETTINGS_INSTANCE_NUMBER_HPP
#define DP_SETTINGS_INSTANCE_NUMBER_HPP

#include <cstdint>
#include <string_view>

#include "common/export.hpp"

namespace dp {

/// The instance number of a single-valued setting.
inline constexpr std::uint32_t no_instance = 0xFFFFFFFE;

/// The instance number of a text that does not parse.
inline constexpr std::uint32_t invalid_instance = 0xFFFFFFFF;

/// Converts an instance text to its number: `no_instance` for an empty text, otherwise the unsigned
/// decimal number at its beginning, or `invalid_instance` when there is none or it does not fit in
/// 32 bits. Leading white space is skipped, and a minus sign wraps the number around. Text after
/// the number is ignored: "2x" and "02" are instance 2.
DP_API std::uint32_t parse_instance(std::string_view text);

}  // namespace dp

#endif
