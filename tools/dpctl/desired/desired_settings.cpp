#include "tools/dpctl/desired/desired_settings.hpp"

#include <cstddef>
#include <unordered_map>
#include <utility>

#include "service_api/attribute_description.hpp"
#include "service_api/attribute_registry.hpp"
#include "service_api/registry_value.hpp"
#include "tools/dpctl/names/name_lookup.hpp"
#include "tools/dpctl/output/printable_text.hpp"
#include "tools/dpctl/output/report.hpp"
#include "tools/dpctl/values/canonical_value.hpp"
#include "tools/dpctl/values/registry_state.hpp"

namespace dpctl {
namespace {

// A file for another server may have thousands of unknown names, and each one takes time to find
// similar names for.
constexpr std::size_t most_unknown_names = 100;

bool is_boolean(const registry_state& registry, const setting_ref& setting) {
    const auto* const attribute = registry.find(setting);
    return attribute != nullptr && attribute->type == dp_service::registry_type::boolean;
}

// Why the value of an entry is of the wrong kind; otherwise sets `value` to its spelling.
std::string resolve_value(const state_entry& entry, const setting_ref& setting,
                          const registry_state& registry, std::string& value) {
    const dp_attribute& attribute = *setting.attribute;
    value = canonical_value(attribute, entry.value);
    if (const auto truth = dp_service::truth_named(entry.value);
        truth && is_boolean(registry, setting)) {
        if (auto choice = choice_for(attribute, *truth); !choice.empty()) {
            value = std::move(choice);
            return "";
        }
    }
    if (entry.kind == state_entry::kinds::boolean) {
        return "is " + entry.value + ", but the attribute is not a Boolean (allowed: " +
               dp_service::allowed_values(attribute) + ')';
    }
    if (entry.kind == state_entry::kinds::number && dp_service::is_string(attribute)) {
        return "is the number " + entry.value + ", but the attribute is a string";
    }
    return "";
}

std::string why_not_one_setting(const setting_ref& setting) {
    if (setting.instance.empty() && setting.collection->has_only_instances(*setting.attribute)) {
        const auto instances = setting.all();
        return "it has " + std::to_string(instances.size()) +
               " instances; name one of them, for example " + instances.front().name();
    }
    return "";
}

}  // namespace

std::vector<desired_setting> resolve_state(catalog& names, const registry_state& registry,
                                           const state_file& state, report& rep) {
    for (const auto& problem : state.problems) {
        rep.problem(state.place_of(problem.line) + problem.message);
    }
    std::vector<desired_setting> settings;
    settings.reserve(state.entries.size());
    std::unordered_map<std::string, std::size_t> lines;
    std::size_t unknown = 0;
    for (const auto& entry : state.entries) {
        const std::string place = state.place_of(entry.line);
        const auto setting = find_setting(names, entry.name, rep, place);
        if (!setting) {
            if (++unknown == most_unknown_names) {
                rep.problem(place + "too many names are not known; the rest was not read");
                return settings;
            }
            continue;
        }
        desired_setting desired{*setting, {}, entry.value, place};
        desired.may_remain = entry.may_remain;
        const std::string name = setting->name();
        std::string reason = why_not_one_setting(*setting);
        if (const auto [first, is_first] = lines.emplace(name, entry.line); !is_first) {
            reason = "it is given twice" +
                     (entry.line == 0 ? std::string()
                                      : ", first in line " + std::to_string(first->second));
        }
        if (reason.empty()) {
            reason = resolve_value(entry, *setting, registry, desired.value);
        }
        if (reason.empty()) {
            settings.push_back(std::move(desired));
        } else {
            std::string problem = place;
            problem += name;
            problem += ": ";
            problem += reason;
            rep.problem(problem);
        }
    }
    return settings;
}

desired_setting default_of(const setting_ref& setting) {
    desired_setting desired{setting, setting.attribute->dft};
    if (dp_service::is_removed_by_default(*setting.attribute)) {
        desired.operation = dp::op_delete;
        desired.value.clear();
    }
    desired.requested = desired.value;
    desired.may_remain = true;
    return desired;
}

}  // namespace dpctl
