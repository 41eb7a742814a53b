#ifndef DP_SERVICE_API_TEMPLATE_FLAGS_HPP
#define DP_SERVICE_API_TEMPLATE_FLAGS_HPP

#include <cstdint>

/// Bits of a template's flag word `flg`, whose meaning the library leaves to the host.
namespace dp_service::template_flags {

/// The attribute can be read but not changed.
inline constexpr std::uint32_t read_only = 0x1;

}  // namespace dp_service::template_flags

#endif
