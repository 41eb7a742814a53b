#ifndef DP_SERVICE_API_ALERT_SOURCES_HPP
#define DP_SERVICE_API_ALERT_SOURCES_HPP

#include <cstdint>

/// The plug-in ids in dp_settingsd's alerts.
namespace dp_service::alert_sources {
inline constexpr std::uint8_t settings_store = 1;  ///< keeps the values of the BIOS attributes
}  // namespace dp_service::alert_sources

#endif
