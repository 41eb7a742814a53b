#include "service_api/dependency_decision.hpp"

#include <gmock/gmock.h>

#include <ctime>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/support/generated_registry.hpp"
#include "tests/support/registry_values.hpp"
#include "tests/support/rounds.hpp"

namespace {

using dp_service::decide;
using dp_service::registry_dependencies;
using dp_service::registry_property;
using dp_service::registry_value;
using test::number_value;
using test::text_value;
using testing::ElementsAre;
using testing::IsEmpty;
using commands = std::vector<registry_dependencies::assignment>;

constexpr std::uint32_t workload = 0;
constexpr std::uint32_t cores = 1;
constexpr std::uint32_t label = 2;

/// WorkloadProfile (Fast or Custom, Fast), Cores (4) and Label (abc), with dependencies on
/// WorkloadProfile: (cause, condition, attribute, property, value).
using profile_rule = std::tuple<const char*, const char*, const char*, const char*, const char*>;

dp_service::attribute_registry server_registry(const std::vector<profile_rule>& dependencies) {
    std::string text = R"({"RegistryEntries": {"Attributes": [
{"AttributeName": "WorkloadProfile", "Type": "Enumeration", "Value": ["Fast", "Custom"], "DefaultValue": "Fast"},
{"AttributeName": "Cores", "Type": "Integer", "LowerBound": 1, "UpperBound": 64, "DefaultValue": 4},
{"AttributeName": "Label", "Type": "String", "DefaultValue": "abc"}], "Dependencies": [)";
    for (const auto& [cause, condition, attribute, property, value] : dependencies) {
        text += std::string(text.ends_with('[') ? "" : ",") + R"({"DependencyFor": ")" + cause +
                R"(", "Dependency": {"MapFrom": [{"MapFromAttribute": "WorkloadProfile", )" +
                R"("MapFromCondition": ")" + condition +
                R"(", "MapFromValue": "Custom"}], "MapToAttribute": ")" + attribute +
                R"(", "MapToProperty": ")" + property + R"(", "MapToValue": )" + value + "}}";
    }
    auto read = dp_service::parse_attribute_registry(text + "]}}");
    EXPECT_TRUE(read) << read.reason();
    EXPECT_TRUE(read->problems.empty());
    return *std::move(read);
}

const profile_rule cores_read_only{"Cores", "NEQ", "Cores", "ReadOnly", "true"};
const profile_rule custom_sets_cores{"WorkloadProfile", "EQU", "Cores", "CurrentValue", "8"};

TEST(dependency_decision, refuses_what_is_forbidden_before_and_after_the_batch) {
    const auto registry = server_registry({cores_read_only});
    registry_dependencies rules(registry);
    const auto decision =
        decide(rules, commands{{cores, number_value(8)}, {label, text_value("x")}});
    EXPECT_THAT(decision.refusals,
                ElementsAre("read-only because WorkloadProfile is not Custom", ""));
    ASSERT_EQ(decision.changes.size(), 1U);
    EXPECT_EQ(decision.changes[0].attribute, label);
    EXPECT_EQ(rules.property(cores, registry_property::current_value), number_value(4));
    rules.undo();
    EXPECT_EQ(rules.property(label, registry_property::current_value), text_value("abc"));
}

TEST(dependency_decision, allows_what_is_allowed_before_or_after_the_batch) {
    const auto registry = server_registry({cores_read_only});
    registry_dependencies rules(registry);
    // In both orders.
    for (const auto& batch :
         {commands{{workload, text_value("Custom")}, {cores, number_value(8)}},
          commands{{cores, number_value(16)}, {workload, text_value("Fast")}}}) {
        EXPECT_THAT(decide(rules, batch).refusals, ElementsAre("", ""));
        rules.keep();
    }
    EXPECT_EQ(rules.property(cores, registry_property::current_value), number_value(16));
    EXPECT_THAT(decide(rules, commands{{cores, number_value(8)}}).refusals,
                ElementsAre("read-only because WorkloadProfile is not Custom"));
}

TEST(dependency_decision, never_refuses_the_value_that_is_pending_already) {
    const auto registry = server_registry({cores_read_only});
    registry_dependencies rules(registry);
    EXPECT_THAT(decide(rules, commands{{cores, number_value(4)}}).refusals, ElementsAre(""));
}

TEST(dependency_decision, refuses_a_value_that_a_dependency_replaces) {
    const auto registry = server_registry({custom_sets_cores});
    registry_dependencies rules(registry);
    const auto decision =
        decide(rules, commands{{cores, number_value(2)}, {workload, text_value("Custom")}});
    EXPECT_THAT(decision.refusals, ElementsAre("set to 8 because WorkloadProfile is Custom", ""));
    EXPECT_EQ(rules.property(cores, registry_property::current_value), number_value(8));
    ASSERT_EQ(decision.changes.size(), 2U);
    EXPECT_EQ(decision.changes[1].cause, registry.maps.data());
}

TEST(dependency_decision, refuses_a_value_that_the_same_batch_replaces) {
    const auto registry = server_registry({});
    registry_dependencies rules(registry);
    EXPECT_THAT(decide(rules, commands{{cores, number_value(2)},
                                       {cores, number_value(3)},
                                       {cores, number_value(3)}})
                    .refusals,
                ElementsAre("set to 3 by the same batch", "", ""));
}

TEST(dependency_decision, leaves_out_the_effects_of_refused_commands) {
    // The profile itself cannot be changed, so the cores do not follow it and stay read-only.
    const auto registry =
        server_registry({{"WorkloadProfile", "NEQ", "WorkloadProfile", "Immutable", "true"},
                         {"Label", "EQU", "WorkloadProfile", "Immutable", "true"},
                         cores_read_only,
                         custom_sets_cores});
    registry_dependencies rules(registry);
    const auto decision =
        decide(rules, commands{{workload, text_value("Custom")}, {cores, number_value(8)}});
    EXPECT_THAT(decision.refusals, ElementsAre("immutable because WorkloadProfile is not Custom",
                                               "read-only because WorkloadProfile is not Custom"));
    EXPECT_THAT(decision.changes, IsEmpty());
}

TEST(dependency_decision, only_some_properties_forbid_a_value) {
    for (const auto& [property, value, attribute, allowed, forbidden, reason] :
         std::vector<std::tuple<const char*, const char*, std::uint32_t, registry_value,
                                registry_value, std::string>>{
             {"LowerBound", "3", cores, number_value(3), number_value(2),
              "below the lower bound 3"},
             {"UpperBound", "9", cores, number_value(9), number_value(10),
              "above the upper bound 9"},
             {"ScalarIncrement", "5", cores, number_value(6), number_value(5),
              "not on a step of 5"},
             {"MinLength", "2", label, text_value("\xC3\xA4\xC3\xB6"), text_value("\xC3\xA4"),
              "shorter than 2 characters"},
             {"MaxLength", "2", label, text_value("\xC3\xA4\xC3\xB6"), text_value("xyz"),
              "longer than 2 characters"},
             {"ValueExpression", "\"^[0-9]$\"", label, text_value("7"), text_value("x"),
              "does not match the pattern ^[0-9]$"}}) {
        const auto registry = server_registry(
            {{"Label", "NEQ", attribute == cores ? "Cores" : "Label", property, value}});
        const registry_dependencies rules(registry);
        EXPECT_EQ(dp_service::why_forbidden(rules, attribute, allowed), "") << property;
        EXPECT_EQ(dp_service::why_forbidden(rules, attribute, forbidden),
                  reason + " because WorkloadProfile is not Custom");
    }
    const auto registry = server_registry({{"Label", "NEQ", "Label", "GrayOut", "true"},
                                           {"Label", "NEQ", "Label", "Hidden", "true"},
                                           {"Label", "NEQ", "Label", "WriteOnly", "true"}});
    EXPECT_EQ(dp_service::why_forbidden(registry_dependencies(registry), label, text_value("x")),
              "");
}

// The decision by its definition: everything is done again after each round.
dp_service::dependency_decision plain_decision(registry_dependencies& rules,
                                               const commands& batch) {
    dp_service::dependency_decision decision;
    decision.refusals.resize(batch.size());
    const auto value_of = [&](std::uint32_t attribute) {
        return rules.property(attribute, registry_property::current_value);
    };
    std::vector<std::string> before(batch.size());
    std::vector<bool> is_pending(batch.size());
    for (std::size_t i = 0; i < batch.size(); ++i) {
        before[i] = dp_service::why_forbidden(rules, batch[i].attribute, batch[i].value);
        is_pending[i] = value_of(batch[i].attribute) == batch[i].value;
    }
    for (bool has_refused = true; has_refused;) {
        has_refused = false;
        commands accepted;
        for (std::size_t i = 0; i < batch.size(); ++i) {
            if (decision.refusals[i].empty()) {
                accepted.push_back(batch[i]);
            }
        }
        rules.undo();
        decision.changes = rules.assign(accepted);
        for (std::size_t i = 0; i < batch.size(); ++i) {
            const auto& [attribute, value] = batch[i];
            if (is_pending[i] || !decision.refusals[i].empty()) {
                continue;
            }
            if (!before[i].empty() && !dp_service::why_forbidden(rules, attribute, value).empty()) {
                decision.refusals[i] = before[i];
            } else if (value_of(attribute) != value) {
                decision.refusals[i] = "replaced";
            }
            has_refused = has_refused || !decision.refusals[i].empty();
        }
    }
    return decision;
}

TEST(dependency_decision, agrees_with_its_definition) {
    int refused = 0;
    int accepted = 0;
    const int registries = test::rounds(1500);
    for (int seed = 1; seed <= registries; ++seed) {
        SCOPED_TRACE(seed);
        test::generated_registry generated(static_cast<std::uint32_t>(seed));
        if (seed % 3 == 0) {
            // Without dependencies of values each refused command is withdrawn alone.
            for (auto& map : generated.registry.maps) {
                map.property = map.property == registry_property::current_value
                                   ? registry_property::upper_bound
                                   : map.property;
            }
        }
        registry_dependencies rules(generated.registry);
        registry_dependencies plain(generated.registry);
        for (int round = 0; round < 6; ++round) {
            commands batch;
            for (std::uint32_t i = generated.below(8); i-- > 0;) {
                batch.push_back({generated.attribute(), generated.value()});
            }
            const auto decision = decide(rules, batch);
            const auto expected = plain_decision(plain, batch);
            for (std::size_t i = 0; i < batch.size(); ++i) {
                EXPECT_EQ(decision.refusals[i].empty(), expected.refusals[i].empty()) << i;
                EXPECT_TRUE(expected.refusals[i] == "replaced" ||
                            decision.refusals[i] == expected.refusals[i])
                    << i;
                (decision.refusals[i].empty() ? accepted : refused) += 1;
            }
            ASSERT_EQ(decision.changes.size(), expected.changes.size());
            for (std::size_t i = 0; i < decision.changes.size(); ++i) {
                EXPECT_EQ(decision.changes[i].attribute, expected.changes[i].attribute);
                EXPECT_EQ(decision.changes[i].before, expected.changes[i].before);
                EXPECT_EQ(decision.changes[i].cause == nullptr,
                          expected.changes[i].cause == nullptr);
            }
            for (std::uint32_t i = 0; i < generated.registry.attributes.size(); ++i) {
                for (const auto which :
                     {registry_property::current_value, registry_property::read_only,
                      registry_property::upper_bound}) {
                    ASSERT_EQ(rules.property(i, which), plain.property(i, which)) << i;
                }
            }
            rules.keep();
            plain.keep();
        }
    }
    EXPECT_GT(refused, registries);
    EXPECT_GT(accepted, registries);
}

// Each attribute is read-only while the one before it is 0; the first one always is. Each round
// refuses one command.
TEST(dependency_decision, costs_what_it_changes_also_when_each_refusal_makes_another) {
    constexpr std::uint32_t count = 10'000;
    dp_service::attribute_registry registry;
    registry.attributes.resize(count);
    registry.maps.resize(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        registry.attributes[i].properties[0] = number_value(0);
        auto& map = registry.maps[i];
        map.attribute = i;
        map.cause = i;
        map.property = registry_property::read_only;
        map.value = true;
        auto& term = map.terms.emplace_back();
        term.attribute = i == 0 ? 0 : i - 1;
        term.condition = i == 0 ? dp_service::registry_condition::greater_or_equal
                                : dp_service::registry_condition::equal;
        term.value = number_value(0);
    }
    registry_dependencies rules(registry);
    commands batch;
    for (std::uint32_t i = 0; i < count; ++i) {
        batch.push_back({i, number_value(1)});
    }
    const std::clock_t begin = std::clock();
    const auto decision = decide(rules, batch);
    EXPECT_LT(std::clock() - begin, 2 * CLOCKS_PER_SEC);
    EXPECT_THAT(decision.refusals, testing::Each(testing::StartsWith("read-only because ")));
    EXPECT_THAT(decision.changes, IsEmpty());
}

}  // namespace
