#ifndef DP_TOOLS_DPCTL_VALUES_SETTING_VALUES_HPP
#define DP_TOOLS_DPCTL_VALUES_SETTING_VALUES_HPP

#include <span>
#include <string>
#include <vector>

#include "support/json.hpp"
#include "tools/dpctl/values/session.hpp"

namespace dpctl {

/// Both values of a setting.
struct setting_values {
    reading pending;
    reading current;
    bool waits_for_restart = false;  ///< they differ: the next restart changes the current value
};

/// Combines the readings of the same settings, index by index. If no current value is known at all,
/// the current-values file is missing and no setting waits for a restart.
std::vector<setting_values> combine(std::vector<reading> pending, std::vector<reading> current);

/// Both values of `names`, with a single read of each file.
std::vector<setting_values> read_values(session& service, std::span<const std::string> names);

/// A value for a person: "-" if there is none, two double quotes if it is empty, marked if it was
/// cut.
std::string value_text(const reading& value);

/// A value for a program: its text, or null if there is none.
dp_support::json_value value_json(const reading& value);

/// The default of an attribute for a program: its text, or null if the default is to have no value.
dp_support::json_value default_json(const dp_attribute& attribute);

/// Sets the members for a setting's values: pending, current, truncated (one of them was cut),
/// pending_restart.
void add_values(dp_support::json_value& object, const setting_values& values);

}  // namespace dpctl

#endif
