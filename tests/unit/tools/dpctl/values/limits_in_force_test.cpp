#include "tools/dpctl/values/limits_in_force.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "service_api/attribute_registry.hpp"
#include "tests/support/registry_json.hpp"

namespace dpctl {
namespace {

constexpr std::uint32_t limited = 1;

// Switch, and Limited, of which Switch "on" determines the properties.
dp_service::attribute_registry registry_with(
    const std::vector<std::pair<std::string, std::string>>& properties) {
    std::vector<test::json_dependency> dependencies;
    for (const auto& [property, value] : properties) {
        dependencies.push_back({"Switch", "EQU", "on", "Limited", property, value});
    }
    auto registry = dp_service::parse_attribute_registry(test::registry_json(
        R"({"AttributeName": "Switch", "Type": "String", "DefaultValue": "on"},
           {"AttributeName": "Limited", "Type": "String", "LowerBound": 7})",
        dependencies));
    EXPECT_TRUE(registry) << registry.reason();
    EXPECT_TRUE(registry->problems.empty());
    return *std::move(registry);
}

dp_service::number_limits numbers_with(
    const std::vector<std::pair<std::string, std::string>>& properties,
    const dp_service::number_limits& of_template) {
    const auto registry = registry_with(properties);
    return limits_in_force(of_template, dp_service::registry_dependencies(registry), limited);
}

dp_service::text_limits texts_with(
    const std::vector<std::pair<std::string, std::string>>& properties,
    const dp_service::text_limits& of_template) {
    const auto registry = registry_with(properties);
    return limits_in_force(of_template, dp_service::registry_dependencies(registry), limited);
}

TEST(limits_in_force, are_the_templates_without_dependencies) {
    EXPECT_EQ(numbers_with({}, {0, 100, 5}), (dp_service::number_limits{0, 100, 5}));
    EXPECT_EQ(texts_with({{"UpperBound", "3"}}, {1, 9, "^a"}),
              (dp_service::text_limits{1, 9, "^a"}));
}

TEST(limits_in_force, are_the_narrower_bounds) {
    EXPECT_EQ(numbers_with({{"LowerBound", "10"}, {"UpperBound", "40"}}, {0, 100, 1}),
              (dp_service::number_limits{10, 40, 1}));
    EXPECT_EQ(numbers_with({{"LowerBound", "-10"}, {"UpperBound", "400"}}, {0, 100, 1}),
              (dp_service::number_limits{0, 100, 1}));
    EXPECT_EQ(dp_service::range_text(numbers_with({{"LowerBound", "200"}}, {0, 100, 1})),
              "no number");
}

TEST(limits_in_force, have_a_step_of_both) {
    EXPECT_EQ(numbers_with({{"ScalarIncrement", "4"}}, {0, 100, 6}).step, 12);
    EXPECT_EQ(numbers_with({{"ScalarIncrement", "0"}}, {0, 100, 6}).step, 6);
    EXPECT_EQ(numbers_with({{"ScalarIncrement", "9223372036854775807"}}, {0, 100, 6}).step,
              INT64_MAX);
}

TEST(limits_in_force, are_the_narrower_lengths) {
    EXPECT_EQ(texts_with({{"MinLength", "2"}, {"MaxLength", "5"}}, {1, 9, ""}),
              (dp_service::text_limits{2, 5, ""}));
    EXPECT_EQ(texts_with({{"MaxLength", "5"}}, {0, 0, ""}), (dp_service::text_limits{0, 5, ""}));
    EXPECT_EQ(texts_with({{"MaxLength", "0"}}, {0, 9, ""}), (dp_service::text_limits{0, 9, ""}));
}

TEST(limits_in_force, have_the_pattern_of_a_dependency) {
    EXPECT_EQ(texts_with({{"ValueExpression", "\"^b\""}}, {0, 0, "^a"}).pattern, "^b");
    EXPECT_EQ(texts_with({{"ValueExpression", "\"\""}}, {0, 0, "^a"}).pattern, "^a");
}

}  // namespace
}  // namespace dpctl
