#ifndef DP_SERVICE_API_TEMPLATE_FLAGS_HPP
#define DP_SERVICE_API_TEMPLATE_FLAGS_HPP

#include <cstdint>

/// Bits that our templates use in the flag word `flg`, which the library only carries.
namespace template_flags {

/// The attribute can be read but not changed.
inline constexpr std::uint32_t read_only = 0x1;

}  // namespace template_flags

#endif
