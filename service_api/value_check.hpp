#ifndef DP_SERVICE_API_VALUE_CHECK_HPP
#define DP_SERVICE_API_VALUE_CHECK_HPP

#include <cstdint>
#include <string>

#include "bios/dp_api.h"

namespace dp_service {

/// The status that the settings service would give a request to set the attribute's instance
/// (empty: it has none) to `value`, as far as the template says: read-only, no such instance, not
/// one of the choices, out of range, too long, not matching the pattern. 0 when the template allows
/// it, or when only the service can decide.
std::int32_t check_value(const dp_attribute& attribute, const std::string& instance,
                         const std::string& value);

}  // namespace dp_service

#endif
