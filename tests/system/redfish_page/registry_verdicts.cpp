// Prints what the service's own rules make of registries, for comparison with those of the setup
// page.
//
// usage: registry_verdicts < CASES
//
// Each line of standard input is a JSON object: "registry", an AttributeRegistry; "pending", a list
// of [attribute, text], and "edits", a list of [attribute, text], where an attribute is an index
// and a text is as in a settings file. Prints a line for each: what the properties are after the
// edits, what is refused, and what changed.

#include <cstddef>
#include <cstdint>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "service_api/attribute_registry.hpp"
#include "service_api/dependency_decision.hpp"
#include "service_api/registry_dependencies.hpp"
#include "service_api/registry_value.hpp"
#include "support/json.hpp"

namespace {

using dp_service::registry_dependencies;
using dp_service::registry_property;
using dp_support::json_value;

// A value with its type: "t:5" is a text, "n:5" a number.
std::string typed_text(const dp_service::registry_value& value) {
    constexpr std::string_view types = "zbnnt";
    return std::string(1, types.at(value.index())) + ':' + dp_service::setting_text(value);
}

std::vector<registry_dependencies::assignment> assignments(
    const dp_service::attribute_registry& registry, const json_value& list) {
    std::vector<registry_dependencies::assignment> result;
    for (const auto& entry : list.items) {
        const auto attribute = static_cast<std::uint32_t>(entry.items.at(0).integer);
        result.push_back(
            {attribute, registry.attributes.at(attribute).value_of_text(entry.items.at(1).text)});
    }
    return result;
}

json_value verdicts(const json_value& given) {
    const auto registry = dp_service::read_attribute_registry(*given.find("registry"));
    if (!registry) {
        return json_value::object({{"failure", registry.reason()}});
    }
    registry_dependencies rules(*registry);
    rules.load(assignments(*registry, *given.find("pending")));
    rules.keep();
    const auto edits = assignments(*registry, *given.find("edits"));
    const auto decision = dp_service::decide(rules, edits);
    json_value changes = json_value::array();
    for (const auto& change : decision.changes) {
        changes.push_back(json_value(std::vector<std::string>{
            std::to_string(change.attribute), typed_text(change.before),
            change.cause == nullptr ? "" : rules.condition_text(*change.cause)}));
    }
    json_value properties = json_value::array();
    for (std::uint32_t i = 0; i < registry->attributes.size(); ++i) {
        std::vector<std::string> texts;
        for (std::size_t j = 0; j < dp_service::registry_property_count; ++j) {
            texts.push_back(typed_text(rules.property(i, static_cast<registry_property>(j))));
        }
        properties.push_back(json_value(texts));
    }
    return json_value::object({{"maps", registry->maps.size()},
                               {"refusals", decision.refusals},
                               {"changes", std::move(changes)},
                               {"properties", std::move(properties)}});
}

}  // namespace

int main() {
    std::string line;
    while (std::getline(std::cin, line)) {
        const auto given = dp_support::parse_json(line);
        if (!given.error.empty()) {
            std::cerr << "registry_verdicts: " << given.error << '\n';
            return 1;
        }
        std::cout << to_text(verdicts(given.root), dp_support::json_layout::one_line) << '\n';
    }
    return 0;
}
