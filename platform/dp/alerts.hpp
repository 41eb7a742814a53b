#ifndef DP_PLATFORM_DP_ALERTS_HPP
#define DP_PLATFORM_DP_ALERTS_HPP

#include <cstdint>

namespace dp::command {

/// The number of the message queue on which plug-ins alert the other components.
inline constexpr unsigned char alert_queue = 8;

/// What a plug-in of the settings service reports to the other components. The numbers are the
/// receivers'; a board may add its own.
enum class alerts : std::uint16_t {
    settings_changed = 1,  ///< value: how many, at most 255
    persist_failed = 2,    ///< settings could not be saved; value: error number, at most 255
    bios_updated = 3,      ///< another template is installed; value: lost values, at most 255
    server_restarted = 4,  ///< pending values became current
};

}  // namespace dp::command

#endif
