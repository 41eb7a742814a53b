#include "tools/dpctl/values/dependency_text.hpp"

#include <variant>

namespace dpctl {
namespace {

using dp_service::registry_map;
using dp_service::registry_property;

// "read-only" for a property that is a flag, otherwise the words before its value.
const char* words_of(registry_property property) {
    switch (property) {
        case registry_property::current_value:
            return "set to";
        case registry_property::default_value:
            return "default";
        case registry_property::read_only:
            return "read-only";
        case registry_property::write_only:
            return "write-only";
        case registry_property::gray_out:
            return "grayed out";
        case registry_property::hidden:
            return "hidden";
        case registry_property::immutable:
            return "immutable";
        case registry_property::help_text:
            return "help";
        case registry_property::warning_text:
            return "warning";
        case registry_property::display_name:
            return "display name";
        case registry_property::display_order:
            return "display order";
        case registry_property::lower_bound:
            return "lower bound";
        case registry_property::upper_bound:
            return "upper bound";
        case registry_property::min_length:
            return "least length";
        case registry_property::max_length:
            return "greatest length";
        case registry_property::scalar_increment:
            return "step";
        case registry_property::value_expression:
            break;
    }
    return "pattern";
}

bool is_flag(registry_property property) {
    switch (property) {
        case registry_property::read_only:
        case registry_property::write_only:
        case registry_property::gray_out:
        case registry_property::hidden:
        case registry_property::immutable:
            return true;
        default:
            return false;
    }
}

}  // namespace

std::string effect_text(const registry_map& map) {
    const std::string words = words_of(map.property);
    if (is_flag(map.property)) {
        const auto* const truth = std::get_if<bool>(&map.value);
        return truth != nullptr && *truth ? words : "not " + words;
    }
    const std::string value = dp_service::setting_text(map.value);
    return words + ' ' + (value.empty() ? "\"\"" : value);
}

std::string dependency_text(const dp_service::attribute_registry& registry,
                            const dp_service::registry_dependencies& rules,
                            const registry_map& map) {
    std::string text = effect_text(map);
    if (map.property == registry_property::current_value && map.cause) {
        text += " when " + registry.attributes[*map.cause].name + " changes";
    }
    return text + " while " + rules.condition_text(map);
}

}  // namespace dpctl
