#ifndef DP_PLATFORM_FM_ALERTS_HPP
#define DP_PLATFORM_FM_ALERTS_HPP

#include <cstdint>

namespace fm::command {

/// The number of the firmware manager's message queue.
inline constexpr unsigned char alert_queue = 3;

/// What the settings service reports to the firmware manager. The numbers are the receiver's; a
/// board may add its own.
enum class alerts : std::uint16_t {
    bios_updated = 1,      ///< another template is installed; value: lost values, at most 255
    server_restarted = 2,  ///< pending values became current
};

}  // namespace fm::command

#endif
