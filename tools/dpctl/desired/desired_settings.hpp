#ifndef DP_TOOLS_DPCTL_DESIRED_DESIRED_SETTINGS_HPP
#define DP_TOOLS_DPCTL_DESIRED_DESIRED_SETTINGS_HPP

#include <string>
#include <vector>

#include "tools/dpctl/desired/state_file.hpp"
#include "tools/dpctl/names/catalog.hpp"
#include "transactions/operations.hpp"

namespace dpctl {

class registry_state;
class report;

/// A setting and the value that it is to have.
struct desired_setting {
    setting_ref setting;
    std::string value{};      ///< in the spelling that the attribute's values have
    std::string requested{};  ///< as a person wrote it
    std::string place{};      ///< where, to begin a message with; empty: on the command line
    dp::operations operation = dp::op_set;  ///< or `op_delete`: it is to have no value
    bool may_remain = false;  ///< it is no failure if it cannot be changed because it is read-only
};

/// The setting of an entry of `state` and its value. Reports with its place an entry that names no
/// setting or an attribute with several instances, and a value of the wrong kind: true and false
/// are for the attributes that the registry types as Boolean, numbers for those that are numbers
/// and for choices that are written the same.
///
/// A name that was found before is reported too: the list is checked as a whole.
std::vector<desired_setting> resolve_state(catalog& names, const registry_state& registry,
                                           const state_file& state, report& rep);

/// The setting and its default: no value for an attribute whose default is to have none. The
/// setting may remain as it is.
desired_setting default_of(const setting_ref& setting);

}  // namespace dpctl

#endif
