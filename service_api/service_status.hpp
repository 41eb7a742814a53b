#ifndef DP_SERVICE_API_SERVICE_STATUS_HPP
#define DP_SERVICE_API_SERVICE_STATUS_HPP

#include <cstdint>
#include <string>

/// Status codes that dp_settingsd gives commands in addition to `dp::command_status`.
namespace dp_service::service_status {

inline constexpr std::int32_t not_a_choice = 48;  ///< not one of an enumeration's choices
inline constexpr std::int32_t not_a_number = 49;  ///< not a plain decimal number
inline constexpr std::int32_t out_of_range = 50;  ///< below the lower or above the upper bound
inline constexpr std::int32_t not_a_step = 51;    ///< not a whole number of steps from the bound
inline constexpr std::int32_t too_short = 52;     ///< fewer characters than the least length
inline constexpr std::int32_t too_long = 53;      ///< more characters than the greatest length
inline constexpr std::int32_t pattern_mismatch = 54;  ///< does not match the pattern
inline constexpr std::int32_t read_only = 55;         ///< the attribute cannot be changed
inline constexpr std::int32_t not_persisted = 56;     ///< the change could not be written to disk
inline constexpr std::int32_t malformed_line = 57;    ///< the line is not a command
inline constexpr std::int32_t not_supported = 58;     ///< the service does not have the operation
inline constexpr std::int32_t bad_instance = 59;      ///< the attribute has no such instance
inline constexpr std::int32_t pending_changed = 60;   ///< not the pending values planned on
inline constexpr std::int32_t over_limit = 61;  ///< the request exceeds a limit of the service
/// The values of other attributes forbid the change. The command's output value is the reason:
/// "read-only because WorkloadProfile is not Custom".
inline constexpr std::int32_t forbidden_by_dependency = 62;

/// Why a command has `status`, one of these codes or of `dp::command_status`, as a clause for a
/// person: "it is read-only". Clauses about the command's value begin with `value`: "the value is
/// out of range". Empty for any other status.
std::string explanation(std::int32_t status, const std::string& value = "the value");

/// Whether the explanation of `status` is about the command's value.
bool is_about_value(std::int32_t status);

}  // namespace dp_service::service_status

#endif
