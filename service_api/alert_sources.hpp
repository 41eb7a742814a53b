#ifndef DP_SERVICE_API_ALERT_SOURCES_HPP
#define DP_SERVICE_API_ALERT_SOURCES_HPP

#include <cstdint>

/// The plug-in ids that dp_settingsd's alerts carry.
namespace alert_sources {
inline constexpr std::uint8_t settings_store = 1;  ///< keeps the values of the BIOS attributes
}  // namespace alert_sources

#endif
