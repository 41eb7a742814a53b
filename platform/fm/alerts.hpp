#ifndef DP_PLATFORM_FM_ALERTS_HPP
#define DP_PLATFORM_FM_ALERTS_HPP

#include <cstdint>

namespace fm::command {

/// What the settings service alerts the firmware manager to, on queue 3. The numbers are the
/// receiver's; a board may add its own.
enum class alerts : std::uint16_t {
    bios_updated = 1,      ///< another template is in place
    server_restarted = 2,  ///< pending values became current
};

}  // namespace fm::command

#endif
