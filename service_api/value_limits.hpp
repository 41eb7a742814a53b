#ifndef DP_SERVICE_API_VALUE_LIMITS_HPP
#define DP_SERVICE_API_VALUE_LIMITS_HPP

#include <cstddef>
#include <cstdint>
#include <string>

/// The limits of an attribute's values, as dp_settingsd checks them. The results are codes of
/// `service_status`, or 0 for a value within the limits. dp_settingsd also accepts an attribute's
/// default, whatever the limits are.
namespace dp_service::value_limits {

/// Checks a value of a numeric attribute, whose `min`, `max` and `stp` these are. Without bounds (0
/// and 0) it may be any number of 32 bits; a step of 0 is 1. Leading zeros are accepted.
std::int32_t check_number(const std::string& value, std::uint32_t least, std::uint32_t greatest,
                          std::uint32_t step);

/// Checks the length of a value of a string attribute, whose `minc` and `maxc` these are. `length`
/// is in UTF-8 characters, or in bytes when the value is not UTF-8. A greatest length of 0 is no
/// limit.
std::int32_t check_length(std::size_t length, std::uint32_t least, std::uint32_t greatest);

}  // namespace dp_service::value_limits

#endif
