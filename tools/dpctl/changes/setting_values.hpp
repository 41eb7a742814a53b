#ifndef DP_TOOLS_DPCTL_CHANGES_SETTING_VALUES_HPP
#define DP_TOOLS_DPCTL_CHANGES_SETTING_VALUES_HPP

#include <nlohmann/json_fwd.hpp>
#include <span>
#include <string>
#include <vector>

#include "tools/dpctl/changes/session.hpp"

namespace dpctl {

/// The two values of one setting.
struct setting_values {
    reading pending;
    reading current;
    bool waits_for_restart = false;  ///< they differ: a restart of the server changes the setting
};

/// Pairs readings of the same settings up. When not one current value is known, the current-values
/// file is missing and nothing is said to wait.
std::vector<setting_values> pair_up(std::vector<reading> pending, std::vector<reading> current);

/// Both values of `names`, each file read once.
std::vector<setting_values> read_values(session& service, std::span<const std::string> names);

/// A value for a person: "-" when there is none, double quotes when it is empty, a mark when cut.
std::string value_text(const reading& value);

/// A value for a program: its text, or null when there is none.
nlohmann::ordered_json value_json(const reading& value);

/// What is said of a setting's values for a program: pending, current, truncated (one of them was
/// cut), pending_restart.
void add_values(nlohmann::ordered_json& object, const setting_values& values);

}  // namespace dpctl

#endif
