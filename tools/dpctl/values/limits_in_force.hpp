#ifndef DP_TOOLS_DPCTL_VALUES_LIMITS_IN_FORCE_HPP
#define DP_TOOLS_DPCTL_VALUES_LIMITS_IN_FORCE_HPP

#include <cstdint>

#include "service_api/attribute_description.hpp"
#include "service_api/registry_dependencies.hpp"

namespace dpctl {

/// The limits of an attribute with what dependencies determine now. `limits` are those of the
/// template, `index` is the attribute's in the registry of `rules`.
///
/// A value must be within the bounds and lengths of both, and on both steps. A dependency's pattern
/// is reported instead of the template's, although a value must match both.
/// @{
dp_service::number_limits limits_in_force(dp_service::number_limits limits,
                                          const dp_service::registry_dependencies& rules,
                                          std::uint32_t index);
dp_service::text_limits limits_in_force(dp_service::text_limits limits,
                                        const dp_service::registry_dependencies& rules,
                                        std::uint32_t index);
/// @}

}  // namespace dpctl

#endif
