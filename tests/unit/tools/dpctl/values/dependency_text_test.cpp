#include "tools/dpctl/values/dependency_text.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "tests/support/registry_json.hpp"
#include "tools/dpctl/values/dependency_index.hpp"

namespace dpctl {
namespace {

using dp_service::registry_map;
using dp_service::registry_property;
using dp_service::registry_value;

std::string effect_of(registry_property property, registry_value value) {
    registry_map map;
    map.property = property;
    map.value = std::move(value);
    return effect_text(map);
}

TEST(effect_text, names_flags_and_values) {
    EXPECT_EQ(effect_of(registry_property::read_only, true), "read-only");
    EXPECT_EQ(effect_of(registry_property::hidden, false), "not hidden");
    EXPECT_EQ(effect_of(registry_property::gray_out, true), "grayed out");
    EXPECT_EQ(effect_of(registry_property::upper_bound, std::int64_t{50}), "upper bound 50");
    EXPECT_EQ(effect_of(registry_property::current_value, std::string("Custom")), "set to Custom");
    EXPECT_EQ(effect_of(registry_property::warning_text, std::string()), "warning \"\"");
    EXPECT_EQ(effect_of(registry_property::value_expression, std::string("^a$")), "pattern ^a$");
}

// A, B and C, where A decides about B's flag and, with C, about its value.
dp_service::attribute_registry three_attributes() {
    auto registry = dp_service::parse_attribute_registry(
        test::registry_json(R"({"AttributeName": "A", "Type": "String"},
                               {"AttributeName": "B", "Type": "String"},
                               {"AttributeName": "C", "Type": "String"})",
                            {{"A", "EQU", "x", "B", "Hidden", "true"},
                             {"A", "EQU", "x", "B", "CurrentValue", "\"y\"", "C"}}));
    EXPECT_TRUE(registry) << registry.reason();
    return *std::move(registry);
}

TEST(dependency_text, describes_effect_and_condition) {
    const auto registry = three_attributes();
    const dp_service::registry_dependencies rules(registry);
    ASSERT_EQ(registry.maps.size(), 2U);
    EXPECT_EQ(dependency_text(registry, rules, registry.maps[0]), "hidden while A is x");
    EXPECT_EQ(dependency_text(registry, rules, registry.maps[1]),
              "set to y when C changes while A is x");
}

TEST(dependency_index, has_the_dependencies_of_each_attribute) {
    const auto registry = three_attributes();
    const dependency_index index(registry);
    EXPECT_EQ(index.changing(0), dependency_index::map_list());
    EXPECT_EQ(index.changing(1),
              (dependency_index::map_list{&registry.maps[0], &registry.maps[1]}));
    EXPECT_EQ(index.decided_by(0),
              (dependency_index::map_list{&registry.maps[0], &registry.maps[1]}));
    EXPECT_EQ(index.decided_by(1), dependency_index::map_list());
    EXPECT_EQ(index.decided_by(2), dependency_index::map_list{&registry.maps[1]});
}

}  // namespace
}  // namespace dpctl
