#include "tools/dpctl/changes/plan_detours.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <utility>
#include <variant>

#include "service_api/attribute_registry.hpp"
#include "service_api/dependency_decision.hpp"
#include "service_api/registry_dependencies.hpp"
#include "service_api/service_status.hpp"
#include "tools/dpctl/values/dependency_index.hpp"
#include "tools/dpctl/values/registry_state.hpp"

namespace dpctl {
namespace {

using dp_service::registry_dependencies;
using dp_service::registry_property;
using dp_service::registry_value;

constexpr std::size_t most_detours = 3;
constexpr std::size_t most_values = 50;  // of one setting

class detour_search {
  public:
    detour_search(const registry_state& registry, change_plan& plan)
        : registry_(registry), plan_(plan), dependencies_(*registry.registry()) {
        for (const planned_change& planned : plan.changes) {
            const bool is_forbidden =
                planned.outcome == change_outcome::refused && planned.index &&
                planned.change.status == dp_service::service_status::forbidden_by_dependency &&
                planned.change.operation != dp::op_delete && !planned.is_possible_later &&
                !planned.is_contradiction;
            if (is_forbidden) {
                refused_.push_back(&planned);
            }
        }
    }

    void run() {
        for (std::size_t tries = 0; !refused_.empty() && tries < most_detours; ++tries) {
            auto found = detour_for(*refused_.front());
            if (!found) {
                refused_.erase(refused_.begin());
                continue;
            }
            std::erase_if(refused_, [&](const planned_change* planned) {
                const auto& names = found->names;
                return std::find(names.begin(), names.end(), planned->name()) != names.end();
            });
            plan_.detours.push_back(*std::move(found));
        }
    }

  private:
    using assignments = std::vector<registry_dependencies::assignment>;

    [[nodiscard]] const dp_service::registry_attribute& attribute(std::uint32_t index) const {
        return registry_.registry()->attributes[index];
    }

    [[nodiscard]] registry_value desired_value(const planned_change& planned) const {
        return attribute(*planned.index).value_of_text(planned.change.value);
    }

    [[nodiscard]] std::string assignment_text(std::uint32_t index,
                                              const registry_value& value) const {
        return registry_.setting_name(index) + '=' + dp_service::setting_text(value);
    }

    // The value that the setting has after the plan.
    [[nodiscard]] registry_value final_value(std::uint32_t index) const {
        const auto found = std::find_if(
            plan_.changes.begin(), plan_.changes.end(), [=](const planned_change& planned) {
                return planned.index == index && planned.outcome == change_outcome::planned &&
                       planned.change.operation != dp::op_delete;
            });
        return found == plan_.changes.end()
                   ? registry_.rules()->property(index, registry_property::current_value)
                   : desired_value(*found);
    }

    // The values of another setting that may make a difference.
    [[nodiscard]] std::vector<registry_value> values_to_try(std::uint32_t index) const {
        std::vector<registry_value> values;
        const auto& tried = attribute(index);
        if (tried.type == dp_service::registry_type::boolean) {
            return {false, true};
        }
        for (const auto& choice : tried.choices) {
            values.emplace_back(choice.name);
        }
        for (const dp_service::registry_map* const map : dependencies_.decided_by(index)) {
            for (const auto& term : map->terms) {
                if (term.attribute != index || tried.type != dp_service::registry_type::integer) {
                    continue;
                }
                if (const auto* const number = std::get_if<std::int64_t>(&term.value);
                    number != nullptr && *number > INT32_MIN && *number < INT64_C(1) << 40) {
                    values.insert(values.end(), {*number, *number + 1, *number - 1});
                }
            }
        }
        values.resize(std::min(values.size(), most_values));
        return values;
    }

    [[nodiscard]] std::optional<plan_detour> detour_for(const planned_change& planned) const {
        std::set<std::uint32_t> deciding;
        for (const auto* const map : dependencies_.changing(*planned.index)) {
            deciding.merge(attributes_read(*map));
        }
        deciding.erase(*planned.index);
        for (const std::uint32_t index : deciding) {
            for (const registry_value& value : values_to_try(index)) {
                if (auto found = try_value(planned, index, value)) {
                    return found;
                }
            }
        }
        return std::nullopt;
    }

    // Makes the first batch with that value of another setting, and then the second one.
    [[nodiscard]] std::optional<plan_detour> try_value(const planned_change& planned,
                                                       std::uint32_t index,
                                                       const registry_value& value) const {
        const registry_value last = final_value(index);
        if (value == last || registry_.setting_name(index).empty()) {
            return std::nullopt;
        }
        assignments commands{{index, value}};
        for (const planned_change* const each : refused_) {
            commands.push_back({*each->index, desired_value(*each)});
        }
        registry_dependencies rules(*registry_.rules());
        const auto first = dp_service::decide(rules, commands);
        const auto wanted = std::find(refused_.begin(), refused_.end(), &planned);
        const auto position = static_cast<std::size_t>(wanted - refused_.begin()) + 1;
        if (!first.refusals[0].empty() || !first.refusals[position].empty()) {
            return std::nullopt;
        }
        rules.keep();
        const auto second = dp_service::decide(rules, assignments{{index, last}});
        if (!second.refusals[0].empty()) {
            return std::nullopt;
        }
        plan_detour result;
        result.first.push_back(assignment_text(index, value));
        result.second.push_back(assignment_text(index, last));
        for (std::size_t i = 0; i < refused_.size(); ++i) {
            const auto& [changed, desired] = commands[i + 1];
            if (rules.property(changed, registry_property::current_value) == desired) {
                result.first.push_back(refused_[i]->name() + '=' + refused_[i]->change.value);
                result.names.push_back(refused_[i]->name());
            }
        }
        const bool is_made = std::find(result.names.begin(), result.names.end(), planned.name()) !=
                             result.names.end();
        return is_made ? std::optional(std::move(result)) : std::nullopt;
    }

    const registry_state& registry_;
    change_plan& plan_;
    dependency_index dependencies_;
    std::vector<const planned_change*> refused_;
};

}  // namespace

void find_detours(const registry_state& registry, change_plan& plan) {
    if (registry.rules() != nullptr && plan.has_refusals()) {
        detour_search(registry, plan).run();
    }
}

}  // namespace dpctl
