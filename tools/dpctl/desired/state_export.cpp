#include "tools/dpctl/desired/state_export.hpp"

#include <cstdint>
#include <optional>
#include <utility>
#include <variant>

#include "service_api/attribute_description.hpp"
#include "service_api/attribute_registry.hpp"
#include "service_api/registry_dependencies.hpp"
#include "support/decimal.hpp"
#include "tools/dpctl/values/canonical_value.hpp"
#include "tools/dpctl/values/registry_state.hpp"

namespace dpctl {
namespace {

using dp_service::registry_dependencies;
using dp_service::registry_property;
using dp_support::json_value;

// Which settings the dependencies make read-only on a server with the exported values.
class dependency_state {
  public:
    dependency_state(const registry_state& registry, const std::vector<setting_ref>& settings,
                     const std::vector<reading>& values)
        : registry_(registry) {
        if (registry.rules() == nullptr) {
            return;
        }
        // The other settings have their pending values.
        rules_.emplace(*registry.rules());
        std::vector<registry_dependencies::assignment> assignments;
        for (std::size_t i = 0; i < settings.size(); ++i) {
            if (const auto index = registry.index_of(settings[i]); index && values[i].known) {
                const auto& attribute = registry.registry()->attributes[*index];
                assignments.push_back({*index, attribute.value_of_text(values[i].text)});
            }
        }
        rules_->load(assignments);
    }

    [[nodiscard]] bool makes_read_only(const setting_ref& setting) const {
        const auto index = registry_.index_of(setting);
        return index && (is_set(*index, registry_property::read_only) ||
                         is_set(*index, registry_property::immutable));
    }

  private:
    [[nodiscard]] bool is_set(std::uint32_t index, registry_property which) const {
        const auto* const truth = std::get_if<bool>(&rules_->property(index, which));
        return truth != nullptr && *truth;
    }

    const registry_state& registry_;
    std::optional<registry_dependencies> rules_;
};

json_value typed_value(const setting_ref& setting, const registry_state& registry,
                       const std::string& text) {
    const dp_attribute& attribute = *setting.attribute;
    const auto* const entry = registry.find(setting);
    if (entry != nullptr && entry->type == dp_service::registry_type::boolean) {
        for (const bool truth : {false, true}) {
            if (!text.empty() && choice_for(attribute, truth) == text) {
                return truth;
            }
        }
    }
    if (dp_service::is_numeric(attribute)) {
        if (const auto number = dp_support::decimal::parse<std::uint32_t>(text)) {
            return *number;
        }
    }
    return text;
}

std::string shortest_name(catalog& names, const setting_ref& setting) {
    const std::string full = setting.name();
    std::string bare = full.substr(setting.collection->name().size() + 1);
    const auto found = names.find_setting(bare);
    const auto* const same = std::get_if<setting_ref>(&found);
    return same != nullptr && same->name() == full ? bare : full;
}

}  // namespace

exported_state export_state(catalog& names, const registry_state& registry,
                            const std::vector<setting_ref>& settings,
                            const std::vector<reading>& values, bool everything) {
    exported_state state;
    state.attributes = json_value::object();
    state.read_only_attributes = json_value::object();
    const dependency_state check(registry, settings, values);
    for (std::size_t i = 0; i < settings.size(); ++i) {
        if (!values[i].known) {
            continue;
        }
        const auto* const attribute = registry.find(settings[i]);
        if (!everything && attribute != nullptr && attribute->is_system_unique) {
            ++state.unique;
        } else if (!everything && (dp_service::is_read_only(*settings[i].attribute) ||
                                   (attribute != nullptr &&
                                    attribute->type == dp_service::registry_type::password))) {
            ++state.read_only;
        } else if (values[i].cut) {
            state.incomplete.push_back(settings[i].name());
        } else {
            // `set` looks through all members each time.
            json_value value = typed_value(settings[i], registry, values[i].text);
            value.name = shortest_name(names, settings[i]);
            const bool is_fixed = !everything && check.makes_read_only(settings[i]);
            (is_fixed ? state.read_only_attributes : state.attributes)
                .items.push_back(std::move(value));
        }
    }
    return state;
}

}  // namespace dpctl
