#ifndef DP_TOOLS_DPCTL_VALUES_DEPENDENCY_TEXT_HPP
#define DP_TOOLS_DPCTL_VALUES_DEPENDENCY_TEXT_HPP

#include <string>

#include "service_api/registry_dependencies.hpp"

// Dependencies of a registry, for people.

namespace dpctl {

/// What a dependency makes of its attribute: "read-only", "not hidden", "upper bound 50" or "set to
/// Custom".
std::string effect_text(const dp_service::registry_map& map);

/// The effect and when it is there: "read-only while Profile is not Custom", or for a value "set to
/// 5 when Profile changes while Profile is Custom".
std::string dependency_text(const dp_service::attribute_registry& registry,
                            const dp_service::registry_dependencies& rules,
                            const dp_service::registry_map& map);

}  // namespace dpctl

#endif
