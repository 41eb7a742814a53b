#ifndef DP_TOOLS_DPCTL_DESIRED_STATE_EXPORT_HPP
#define DP_TOOLS_DPCTL_DESIRED_STATE_EXPORT_HPP

#include <cstddef>
#include <string>
#include <vector>

#include "support/json.hpp"
#include "tools/dpctl/names/catalog.hpp"
#include "tools/dpctl/values/session.hpp"

namespace dpctl {

class registry_state;

/// A desired state made from values, and the numbers of settings that it does not have.
struct exported_state {
    dp_support::json_value attributes;            ///< NAME: VALUE as a Redfish service writes them
    dp_support::json_value read_only_attributes;  ///< those that dependencies make read-only
    std::size_t unique = 0;               ///< settings that identify the server, as an asset tag
    std::size_t read_only = 0;            ///< settings that are always read-only, and passwords
    std::vector<std::string> incomplete;  ///< settings whose values could not be read whole
};

/// The state in which the settings have these values, index by index; settings without a value are
/// left out. With `everything` all of them are `attributes`, also those that identify the server
/// and those that are read-only. Names are bare where that is unambiguous.
exported_state export_state(catalog& names, const registry_state& registry,
                            const std::vector<setting_ref>& settings,
                            const std::vector<reading>& values, bool everything);

}  // namespace dpctl

#endif
