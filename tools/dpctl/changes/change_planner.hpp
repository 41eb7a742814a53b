#ifndef DP_TOOLS_DPCTL_CHANGES_CHANGE_PLANNER_HPP
#define DP_TOOLS_DPCTL_CHANGES_CHANGE_PLANNER_HPP

#include <memory>
#include <string>
#include <vector>

#include "tools/dpctl/changes/change_plan.hpp"
#include "tools/dpctl/desired/desired_settings.hpp"
#include "tools/dpctl/names/catalog.hpp"
#include "tools/dpctl/values/registry_state.hpp"

namespace dpctl {

class report;

/// What a plan starts from: the settings of the server and its registry, read after the version of
/// the pending values. So a value that changes while they are read changes the version too.
class change_planner {
  public:
    /// Null when the server has no collections, which is reported. `service` and `rep` must outlive
    /// the object. Throws as `registry_state`.
    static std::unique_ptr<change_planner> start(session& service, report& rep);

    [[nodiscard]] catalog& names() { return names_; }
    [[nodiscard]] const registry_state& registry() const { return *registry_; }

    /// Plans to give settings their desired values, as `plan_changes`.
    [[nodiscard]] change_plan plan(const std::vector<desired_setting>& settings);

  private:
    explicit change_planner(session& service);

    session& service_;
    std::string version_;  // of the pending values; read first
    catalog names_;
    std::unique_ptr<registry_state> registry_;  // never null after `start`
};

}  // namespace dpctl

#endif
