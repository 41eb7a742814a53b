#include "tools/dpctl/changes/change_plan.hpp"

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "service_api/attribute_description.hpp"
#include "service_api/dependency_decision.hpp"
#include "service_api/registry_dependencies.hpp"
#include "service_api/service_status.hpp"
#include "service_api/value_check.hpp"
#include "tools/dpctl/changes/change_request.hpp"
#include "tools/dpctl/status/status_reason.hpp"
#include "tools/dpctl/values/registry_state.hpp"
#include "tools/dpctl/values/setting_values.hpp"
#include "transactions/command_status.hpp"

namespace dpctl {
namespace {

using dp_service::registry_dependencies;
using dp_service::registry_property;
using dp_service::registry_value;

planned_change start_change(const desired_setting& desired, const registry_state& registry) {
    planned_change planned;
    planned.change.name = desired.setting.name();
    planned.change.value = desired.value;
    planned.change.operation = desired.operation;
    planned.instance = desired.setting.instance;
    planned.requested = desired.requested;
    planned.place = desired.place;
    planned.copy = std::make_shared<dp_service::attribute_copy>(*desired.setting.attribute);
    planned.index = registry.index_of(desired.setting);
    planned.may_remain = desired.may_remain;
    return planned;
}

void refuse(planned_change& planned, std::int32_t status, std::string reason) {
    planned.change.status = status;
    planned.reason = std::move(reason);
    const bool is_unchangeable = status == dp_service::service_status::read_only ||
                                 status == dp_service::service_status::forbidden_by_dependency;
    planned.outcome =
        planned.may_remain && is_unchangeable ? change_outcome::remains : change_outcome::refused;
}

// Checks the change alone.
void check(planned_change& planned) {
    if (is_stored_value(planned.pending, planned.desired())) {
        planned.outcome = change_outcome::already;
        return;
    }
    planned.outcome = change_outcome::planned;
    if (auto reason = why_not_requestable(planned.change); !reason.empty()) {
        refuse(planned, dp_service::service_status::malformed_line, std::move(reason));
        return;
    }
    const std::int32_t status =
        planned.change.operation == dp::op_delete && !dp_service::is_read_only(planned.attribute())
            ? dp::command_status::success
            : dp_service::check_value(planned.attribute(), planned.instance, planned.change.value);
    if (status != dp::command_status::success) {
        refuse(planned, status,
               explain_status(static_cast<std::uint32_t>(status), &planned.attribute(),
                              planned.change.value));
    }
}

// Checks the changes together. Those that have no attribute in the registry have no dependencies.
class dependency_check {
  public:
    dependency_check(registry_state& registry, change_plan& plan)
        : registry_(registry), rules_(*registry.rules()), plan_(plan) {}

    void run() {
        std::vector<registry_dependencies::assignment> commands;
        std::vector<planned_change*> commanded;
        for (auto& planned : plan_.changes) {
            if (planned.is_requested() && planned.index) {
                commands.push_back({*planned.index, desired_value(planned)});
                commanded.push_back(&planned);
            }
        }
        auto decision = dp_service::decide(rules_, commands);
        std::unordered_set<std::uint32_t> shown;
        for (std::size_t i = 0; i < commanded.size(); ++i) {
            take_refusal(*commanded[i], std::move(decision.refusals[i]), decision.changes);
        }
        for (auto& planned : plan_.changes) {
            if (planned.index) {
                keep_value(planned, decision.changes);
                if (planned.outcome == change_outcome::planned) {
                    shown.insert(*planned.index);
                }
            }
        }
        for (const auto& change : decision.changes) {
            if (change.cause != nullptr && !shown.contains(change.attribute)) {
                plan_.effects.push_back({registry_.setting_name(change.attribute),
                                         dp_service::setting_text(change.before),
                                         dp_service::setting_text(value_of(change.attribute)),
                                         rules_.condition_text(*change.cause)});
            }
        }
        judge_conflicts();
        rules_.undo();
    }

  private:
    using value_changes = std::vector<registry_dependencies::change>;

    [[nodiscard]] registry_value desired_value(const planned_change& planned) const {
        return registry_.registry()->attributes[*planned.index].value_of_text(
            planned.change.operation == dp::op_delete ? planned.attribute().dft
                                                      : planned.change.value);
    }

    // After the batch.
    [[nodiscard]] const registry_value& value_of(std::uint32_t attribute) const {
        return rules_.property(attribute, registry_property::current_value);
    }

    [[nodiscard]] std::string cause_of(std::uint32_t attribute,
                                       const value_changes& changes) const {
        const auto found = std::lower_bound(
            changes.begin(), changes.end(), attribute,
            [](const auto& change, std::uint32_t wanted) { return change.attribute < wanted; });
        return found == changes.end() || found->attribute != attribute || found->cause == nullptr
                   ? std::string()
                   : rules_.condition_text(*found->cause);
    }

    // A change that is refused because the setting is read-only is made all the same if another one
    // makes a dependency set the same value.
    void take_refusal(planned_change& planned, std::string reason, const value_changes& changes) {
        if (reason.empty()) {
            return;
        }
        if (value_of(*planned.index) == desired_value(planned)) {
            planned.cause = cause_of(*planned.index, changes);
            return;
        }
        // The service's words for a value that the same batch replaces.
        if (reason.starts_with("set to ")) {
            const bool has_cause = reason.find(" because ") != std::string::npos;
            add_conflict(planned, has_cause ? reason : why_set(planned, changes));
        } else {
            refuse(planned, dp_service::service_status::forbidden_by_dependency, std::move(reason));
        }
    }

    // What a dependency does with the setting: "set to False because WorkloadProfile is Custom".
    [[nodiscard]] std::string why_set(const planned_change& planned,
                                      const value_changes& changes) const {
        const registry_value& value = value_of(*planned.index);
        std::string cause = cause_of(*planned.index, changes);
        if (cause.empty()) {
            // It had the value before the batch.
            cause = only_cause_of(*planned.index, value);
        }
        return "set to " + dp_service::setting_text(value) +
               (cause.empty() ? " by a dependency" : " because " + cause);
    }

    // The condition of the dependency that sets the attribute to the value; empty if there are
    // several.
    [[nodiscard]] std::string only_cause_of(std::uint32_t attribute,
                                            const registry_value& value) const {
        const dp_service::registry_map* found = nullptr;
        for (const auto& map : registry_.registry()->maps) {
            if (map.property == registry_property::current_value && map.attribute == attribute &&
                map.value == value) {
                if (found != nullptr) {
                    return {};
                }
                found = &map;
            }
        }
        return found == nullptr ? std::string() : rules_.condition_text(*found);
    }

    // A dependency sets the setting to another value.
    void add_conflict(planned_change& planned, const std::string& what) {
        refuse(planned, dp_service::service_status::forbidden_by_dependency, "it would be " + what);
        conflicts_.push_back(&planned);
    }

    // A setting that has its value already may lose it.
    void keep_value(planned_change& planned, const value_changes& changes) {
        if (planned.outcome == change_outcome::already &&
            planned.change.operation != dp::op_delete &&
            value_of(*planned.index) != desired_value(planned)) {
            add_conflict(planned, why_set(planned, changes));
        }
    }

    // Whether a second batch, after this one, gives the settings of conflicts their values and
    // changes none of the others.
    void judge_conflicts() {
        if (conflicts_.empty()) {
            return;
        }
        registry_dependencies later(rules_);
        later.keep();
        std::vector<registry_dependencies::assignment> commands;
        for (const planned_change* const planned : conflicts_) {
            commands.push_back({*planned->index, desired_value(*planned)});
        }
        const auto decision = dp_service::decide(later, commands);
        const bool keeps_others = std::none_of(
            plan_.changes.begin(), plan_.changes.end(), [&](const planned_change& planned) {
                const bool is_made = planned.outcome == change_outcome::planned ||
                                     planned.outcome == change_outcome::already;
                return is_made && planned.index && planned.change.operation != dp::op_delete &&
                       later.property(*planned.index, registry_property::current_value) !=
                           desired_value(planned);
            });
        for (std::size_t i = 0; i < conflicts_.size(); ++i) {
            conflicts_[i]->is_possible_later = keeps_others && decision.refusals[i].empty();
            conflicts_[i]->is_contradiction = !conflicts_[i]->is_possible_later;
            if (!decision.refusals[i].empty()) {
                conflicts_[i]->reason += ", and is then " + decision.refusals[i];
            }
        }
    }

    registry_state& registry_;
    registry_dependencies& rules_;
    change_plan& plan_;
    std::vector<planned_change*> conflicts_;
};

}  // namespace

reading planned_change::desired() const {
    return change.operation == dp::op_delete ? reading{} : reading{true, false, change.value};
}

std::size_t change_plan::count(change_outcome outcome) const {
    return static_cast<std::size_t>(
        std::count_if(changes.begin(), changes.end(),
                      [=](const planned_change& planned) { return planned.outcome == outcome; }));
}

change_plan plan_changes(session& service, registry_state& registry,
                         const std::vector<desired_setting>& settings, std::string version) {
    change_plan plan;
    plan.version = std::move(version);
    std::vector<std::string> names;
    plan.changes.reserve(settings.size());
    names.reserve(settings.size());
    for (const auto& desired : settings) {
        plan.changes.push_back(start_change(desired, registry));
        names.push_back(plan.changes.back().name());
    }
    auto values = read_values(service, names);
    for (std::size_t i = 0; i < plan.changes.size(); ++i) {
        planned_change& planned = plan.changes[i];
        planned.pending = values[i].pending;
        planned.change.replaced = std::move(values[i].pending);
        planned.current = std::move(values[i].current);
        check(planned);
    }
    if (registry.rules() != nullptr) {
        dependency_check(registry, plan).run();
    }
    return plan;
}

}  // namespace dpctl
