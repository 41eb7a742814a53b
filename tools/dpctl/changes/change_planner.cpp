#include "tools/dpctl/changes/change_planner.hpp"

#include "tools/dpctl/names/name_lookup.hpp"

namespace dpctl {

change_planner::change_planner(session& service)
    : service_(service), version_(service.pending_version()), names_(service) {}

std::unique_ptr<change_planner> change_planner::start(session& service, report& rep) {
    std::unique_ptr<change_planner> planner(new change_planner(service));
    if (!have_collections(planner->names_, service, rep)) {
        return nullptr;
    }
    planner->registry_ = std::make_unique<registry_state>(service, planner->names_, rep);
    return planner;
}

change_plan change_planner::plan(const std::vector<desired_setting>& settings) {
    return plan_changes(service_, *registry_, settings, version_);
}

}  // namespace dpctl
