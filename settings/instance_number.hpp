#ifndef DP_SETTINGS_INSTANCE_NUMBER_HPP
#define DP_SETTINGS_INSTANCE_NUMBER_HPP

#include <cstdint>
#include <string_view>

#include "common/export.hpp"

namespace dp {

/// The instance number of a single-valued setting.
inline constexpr std::uint32_t no_instance = 0xFFFFFFFE;

/// Stands for an instance text that is not a number.
inline constexpr std::uint32_t invalid_instance = 0xFFFFFFFF;

/// The instance number that a text names: `no_instance` for an empty text, the unsigned decimal
/// number at its beginning, `invalid_instance` when there is none or it does not fit 32 bits.
DP_API std::uint32_t parse_instance(std::string_view text);

}  // namespace dp

#endif
