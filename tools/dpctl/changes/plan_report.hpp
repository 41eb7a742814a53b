#ifndef DP_TOOLS_DPCTL_CHANGES_PLAN_REPORT_HPP
#define DP_TOOLS_DPCTL_CHANGES_PLAN_REPORT_HPP

#include <cstdint>
#include <string>

#include "tools/dpctl/changes/change_plan.hpp"

namespace dpctl {

class report;

/// What became of a change, as a text for a person after the name of its setting. `settings_file`
/// is the file with the pending values.
std::string describe_change(const planned_change& planned, const std::string& settings_file);

/// How many settings have which outcome: "2 changed, 1 already so, 1 refused".
std::string describe_counts(const change_plan& plan);

/// Which changes `report_plan` shows.
enum class shown_changes : std::uint8_t {
    all,
    new_ones,      ///< not those of settings that have their values already
    planned_ones,  ///< those that are to be requested
};

/// Shows the changes of a plan with their outcomes, and what dependencies change. Refused changes
/// are problems.
void report_plan(const change_plan& plan, const std::string& settings_file, shown_changes which,
                 report& rep);

/// Adds the same to the document: "settings", "effects", and "summary".
void fill_document(const change_plan& plan, const std::string& settings_file, report& rep);

}  // namespace dpctl

#endif
