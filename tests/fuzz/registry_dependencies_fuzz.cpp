// Arbitrary bytes as the registry of a template: reading it ends, and its dependencies make the
// same of its values as a plain evaluator does.

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "service_api/attribute_registry.hpp"
#include "service_api/registry_dependencies.hpp"
#include "tests/fuzz/fuzzing.hpp"
#include "tests/support/plain_dependencies.hpp"

namespace {

using dp_service::registry_dependencies;
using dp_service::registry_property;
using assignments = std::vector<registry_dependencies::assignment>;

// The plain evaluator's work grows with a high power of the sizes.
constexpr std::size_t most_attributes = 8;
constexpr std::size_t most_maps = 12;
constexpr std::size_t most_terms = 64;

// The comparisons of a condition as assignments: they often make it hold.
void add_assignments(const std::vector<dp_service::registry_term>& terms, assignments& list) {
    for (const auto& term : terms) {
        if (term.subexpressions.empty()) {
            list.push_back({term.attribute, term.value});
        }
        add_assignments(term.subexpressions, list);
    }
}

void compare(const registry_dependencies& rules, const test::plain_dependencies& plain,
             const dp_service::attribute_registry& registry) {
    for (std::uint32_t i = 0; i < registry.attributes.size(); ++i) {
        for (std::size_t j = 0; j < dp_service::registry_property_count; ++j) {
            const auto which = static_cast<registry_property>(j);
            fuzzing::require(rules.property(i, which) == plain.property(i, which),
                             "both evaluators agree");
        }
    }
}

void assign(registry_dependencies& rules, test::plain_dependencies& plain,
            const assignments& wanted) {
    std::map<std::uint32_t, dp_service::registry_value> plainly_wanted;
    for (const auto& [attribute, value] : wanted) {
        plainly_wanted[attribute] = value;
    }
    rules.assign(wanted);
    plain.assign(plainly_wanted);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(data, data + size);
    const auto registry = dp_service::parse_attribute_registry(text);
    if (!registry) {
        fuzzing::require(!registry.reason().empty(), "a failure has a reason");
        return 0;
    }
    registry_dependencies rules(*registry);
    assignments all;
    for (const auto& map : registry->maps) {
        add_assignments(map.terms, all);
        fuzzing::require(!rules.condition_text(map).empty(), "a condition has a text");
    }
    if (registry->attributes.size() > most_attributes || registry->maps.size() > most_maps ||
        all.size() > most_terms) {
        rules.assign(all);
        return 0;
    }
    std::vector<dp_service::registry_value> values;
    for (std::uint32_t i = 0; i < registry->attributes.size(); ++i) {
        values.push_back(rules.property(i, registry_property::current_value));
    }
    test::plain_dependencies plain(*registry, values, registry_dependencies::most_rounds);
    compare(rules, plain, *registry);
    for (const auto& one : all) {
        assign(rules, plain, {one});
        compare(rules, plain, *registry);
    }
    rules.keep();
    assign(rules, plain, all);
    compare(rules, plain, *registry);
    rules.undo();
    return 0;
}
