#ifndef DP_TOOLS_DPCTL_DESIRED_STATE_PLAN_HPP
#define DP_TOOLS_DPCTL_DESIRED_STATE_PLAN_HPP

#include <optional>
#include <string>
#include <vector>

#include "tools/dpctl/changes/change_plan.hpp"
#include "tools/dpctl/desired/state_file.hpp"
#include "tools/dpctl/names/catalog.hpp"

namespace dpctl {

class report;

/// Reads a state file. A file that cannot be read is reported; nothing then.
std::optional<state_file> load_state(const std::string& path, report& rep);

/// Notes that the state was made from a server with another registry version or BIOS build.
void note_other_versions(const state_file& state, const session& service,
                         const registry_state& registry, report& rep);

/// The defaults of all settings that have values and are not in `named`. Settings that identify
/// the server, as an asset tag, are left out; the document and a line say how many.
std::vector<desired_setting> defaults_of_others(catalog& names, const registry_state& registry,
                                                const std::vector<desired_setting>& named,
                                                report& rep);

/// Plans to give the settings the values of the state, and with `others_default` all others their
/// defaults. What is wrong with the state is reported with its place. Nothing when there are no
/// collections, or when the file cannot be read.
std::optional<change_plan> plan_state(session& service, const std::string& path,
                                      bool others_default, report& rep);

}  // namespace dpctl

#endif
