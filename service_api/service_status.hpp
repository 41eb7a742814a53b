#ifndef DP_SERVICE_API_SERVICE_STATUS_HPP
#define DP_SERVICE_API_SERVICE_STATUS_HPP

#include <cstdint>

/// Status codes that dp_settingsd gives commands beside those of the library. Clients explain them.
namespace service_status {
inline constexpr std::int32_t not_a_choice = 48;  ///< not one of an enumeration's choices
inline constexpr std::int32_t not_a_number = 49;  ///< not a plain decimal number
inline constexpr std::int32_t out_of_range = 50;  ///< below the lower or above the upper bound
inline constexpr std::int32_t not_a_step = 51;    ///< not a whole number of steps from the bound
inline constexpr std::int32_t too_short = 52;     ///< fewer characters than the least length
inline constexpr std::int32_t too_long = 53;      ///< more characters than the greatest length
inline constexpr std::int32_t pattern_mismatch = 54;  ///< does not match the pattern
inline constexpr std::int32_t read_only = 55;         ///< the attribute can't be changed
inline constexpr std::int32_t not_persisted = 56;     ///< the change could not be written to disk
inline constexpr std::int32_t malformed_line = 57;    ///< the line is not a command
inline constexpr std::int32_t not_supported = 58;  ///< an operation that this service doesn't have
inline constexpr std::int32_t bad_instance = 59;   ///< the attribute has no such instance
}  // namespace service_status

#endif
