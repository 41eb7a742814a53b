#include "service_api/registry_dependencies.hpp"

#include <gmock/gmock.h>

#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/cpu_time.hpp"
#include "tests/support/generated_registry.hpp"
#include "tests/support/plain_dependencies.hpp"
#include "tests/support/registry_values.hpp"
#include "tests/support/rounds.hpp"

namespace {

using dp_service::attribute_registry;
using dp_service::registry_dependencies;
using dp_service::registry_map;
using dp_service::registry_property;
using dp_service::registry_term;
using dp_service::registry_value;
using test::number_value;
using test::text_value;
using testing::ElementsAre;
using testing::IsEmpty;
using assignments = std::vector<registry_dependencies::assignment>;

constexpr std::uint32_t profile = 0;
constexpr std::uint32_t limit = 1;
constexpr std::uint32_t on = 2;

/// Attributes Profile (Fast or Custom, Fast), Limit (7 of 0 to 10) and On (False), with these
/// dependencies.
attribute_registry registry_with(const std::string& dependencies) {
    auto read = dp_service::parse_attribute_registry(R"({"RegistryEntries": {"Attributes": [
{"AttributeName": "Profile", "Type": "Enumeration", "Value": ["Fast", "Custom"], "DefaultValue": "Fast"},
{"AttributeName": "Limit", "Type": "Integer", "LowerBound": 0, "UpperBound": 10, "CurrentValue": 7},
{"AttributeName": "On", "Type": "Boolean", "DefaultValue": false}], "Dependencies": [)" +
                                                     dependencies + "]}}");
    EXPECT_TRUE(read) << read.reason();
    EXPECT_TRUE(read->problems.empty()) << read->problems.front().message;
    return *std::move(read);
}

std::string comparison(const std::string& attribute, const std::string& condition,
                       const std::string& value, const std::string& more = "") {
    return R"({"MapFromAttribute": ")" + attribute + R"(", "MapFromCondition": ")" + condition +
           R"(", "MapFromValue": )" + value + more + "}";
}

std::string map_of(const std::string& cause, const std::string& terms, const std::string& attribute,
                   const std::string& property, const std::string& value) {
    return R"({"DependencyFor": ")" + cause + R"(", "Type": "Map", "Dependency": {"MapFrom": [)" +
           terms + R"(], "MapToAttribute": ")" + attribute + R"(", "MapToProperty": ")" + property +
           R"(", "MapToValue": )" + value + "}}";
}

const std::string is_not_custom = comparison("Profile", "NEQ", "\"Custom\"");
const std::string is_custom = comparison("Profile", "EQU", "\"Custom\"");

TEST(registry_dependencies, a_property_has_the_mapped_value_while_the_condition_holds) {
    const auto registry =
        registry_with(map_of("Limit", is_not_custom, "Limit", "ReadOnly", "true"));
    registry_dependencies rules(registry);
    EXPECT_EQ(rules.property(limit, registry_property::read_only), registry_value(true));
    ASSERT_NE(rules.cause(limit, registry_property::read_only), nullptr);
    EXPECT_EQ(rules.condition_text(*rules.cause(limit, registry_property::read_only)),
              "Profile is not Custom");
    EXPECT_EQ(rules.cause(limit, registry_property::hidden), nullptr);
    rules.assign(assignments{{profile, text_value("Custom")}});
    EXPECT_EQ(rules.property(limit, registry_property::read_only), registry_value(false));
    EXPECT_EQ(rules.cause(limit, registry_property::read_only), nullptr);
    rules.assign(assignments{{profile, text_value("Fast")}});
    EXPECT_EQ(rules.property(limit, registry_property::read_only), registry_value(true));
}

TEST(registry_dependencies, the_last_one_in_the_registry_wins) {
    const auto registry =
        registry_with(map_of("Limit", is_not_custom, "Limit", "UpperBound", "5") + "," +
                      map_of("Limit", comparison("On", "EQU", "true"), "Limit", "UpperBound", "3") +
                      "," + map_of("On", is_custom, "Limit", "CurrentValue", "1") + "," +
                      map_of("On", is_custom, "Limit", "CurrentValue", "2"));
    registry_dependencies rules(registry);
    EXPECT_EQ(rules.property(limit, registry_property::upper_bound), number_value(5));
    rules.assign(assignments{{on, true}});
    EXPECT_EQ(rules.property(limit, registry_property::upper_bound), number_value(3));
    rules.assign(assignments{{profile, text_value("Custom")}, {on, false}});
    EXPECT_EQ(rules.property(limit, registry_property::upper_bound), number_value(10));
    EXPECT_EQ(rules.property(limit, registry_property::current_value), number_value(2));
}

TEST(registry_dependencies, a_current_value_is_set_only_when_its_cause_changes) {
    const auto registry = registry_with(map_of("Profile", is_custom, "Limit", "CurrentValue", "1"));
    registry_dependencies rules(registry);
    rules.load(assignments{{profile, text_value("Custom")}, {limit, number_value(7)}});
    EXPECT_EQ(rules.property(limit, registry_property::current_value), number_value(7));
    EXPECT_THAT(rules.assign(assignments{{profile, text_value("Custom")}}), IsEmpty());
    rules.assign(assignments{{profile, text_value("Fast")}});
    EXPECT_EQ(rules.property(limit, registry_property::current_value), number_value(7));
    const auto changes = rules.assign(assignments{{profile, text_value("Custom")}});
    EXPECT_EQ(rules.property(limit, registry_property::current_value), number_value(1));
    ASSERT_EQ(changes.size(), 2U);
    EXPECT_EQ(changes[0].attribute, profile);
    EXPECT_EQ(changes[0].before, text_value("Fast"));
    EXPECT_EQ(changes[0].cause, nullptr);
    EXPECT_EQ(changes[1].attribute, limit);
    EXPECT_EQ(changes[1].before, number_value(7));
    EXPECT_EQ(changes[1].cause, registry.maps.data());
    rules.assign(assignments{{limit, number_value(4)}});
    EXPECT_EQ(rules.property(limit, registry_property::current_value), number_value(4));
}

TEST(registry_dependencies, terms_are_combined_from_left_to_right) {
    const auto term = [](const char* joint, bool truth) {
        return comparison("On", truth ? "NEQ" : "EQU", "true",
                          std::string(", \"MapTerms\": \"") + joint + "\"");
    };
    const std::string group = R"({"MapTerms": "NOT", "Subexpressions": [)" + term("AND", true) +
                              "," + term("AND", false) + "]}";
    for (const auto& [terms, is_hidden] : std::vector<std::pair<std::string, bool>>{
             {term("AND", true) + "," + term("OR", true) + "," + term("AND", false), false},
             {term("AND", false) + "," + term("AND", true) + "," + term("OR", true), true},
             {term("OR", false) + "," + term("AND", true), false},
             {term("NOT", false), true},
             {term("AND", true) + "," + term("NOT", true), false},
             {term("AND", true) + "," + term("NOT", false), true},
             {term("AND", false) + "," + term("NOT", false), false},
             {comparison("On", "EQU", "false") + "," + comparison("On", "EQU", "true"), false},
             {group, true},
             {term("AND", true) + "," + group, true},
             {term("AND", false) + "," + group, false}}) {
        const auto registry = registry_with(map_of("On", terms, "Limit", "Hidden", "true"));
        EXPECT_EQ(registry_dependencies(registry).property(limit, registry_property::hidden),
                  registry_value(is_hidden))
            << terms;
    }
}

TEST(registry_dependencies, conditions_read_properties_that_are_mapped_too) {
    const auto registry = registry_with(
        map_of("On", comparison("Limit", "EQU", "true", R"(, "MapFromProperty": "ReadOnly")"), "On",
               "GrayOut", "true") +
        "," + map_of("Limit", is_custom, "Limit", "ReadOnly", "true"));
    registry_dependencies rules(registry);
    EXPECT_EQ(rules.property(on, registry_property::gray_out), registry_value(false));
    rules.assign(assignments{{profile, text_value("Custom")}});
    EXPECT_EQ(rules.property(on, registry_property::gray_out), registry_value(true));
    EXPECT_EQ(rules.condition_text(*rules.cause(on, registry_property::gray_out)),
              "ReadOnly of Limit is True");
}

TEST(registry_dependencies, cycles_end) {
    const auto hidden = [](const std::string& of, const std::string& value) {
        return comparison(of, "EQU", value, R"(, "MapFromProperty": "Hidden")");
    };
    const auto registry = registry_with(
        // The first two have a solution; the third contradicts itself; the last two set each other.
        map_of("On", hidden("Limit", "true"), "On", "Hidden", "true") + "," +
        map_of("On", hidden("On", "true") + R"(, {"MapTerms": "OR", )" + is_custom.substr(1),
               "Limit", "Hidden", "true") +
        "," + map_of("Profile", hidden("Profile", "false"), "Profile", "Hidden", "true") + "," +
        map_of("Limit", comparison("Limit", "GTR", "5"), "On", "CurrentValue", "true") + "," +
        map_of("On", comparison("On", "EQU", "true"), "Limit", "CurrentValue", "1") + "," +
        map_of("Limit", comparison("Limit", "LSS", "5"), "On", "CurrentValue", "false"));
    registry_dependencies rules(registry);
    EXPECT_EQ(rules.property(on, registry_property::hidden), registry_value(false));
    rules.assign(assignments{{profile, text_value("Custom")}, {limit, number_value(8)}});
    EXPECT_EQ(rules.property(on, registry_property::hidden), registry_value(true));
    EXPECT_EQ(rules.property(limit, registry_property::hidden), registry_value(true));
    EXPECT_EQ(rules.property(limit, registry_property::current_value), number_value(1));
    EXPECT_EQ(rules.property(on, registry_property::current_value), registry_value(false));
}

TEST(registry_dependencies, undo_takes_back_everything_since_keep) {
    const auto registry =
        registry_with(map_of("Profile", is_custom, "Limit", "CurrentValue", "1") + "," +
                      map_of("Limit", is_custom, "Limit", "ReadOnly", "true"));
    registry_dependencies rules(registry);
    rules.assign(assignments{{on, true}});
    rules.keep();
    rules.assign(assignments{{profile, text_value("Custom")}});
    rules.assign(assignments{{limit, number_value(3)}});
    rules.undo();
    EXPECT_EQ(rules.property(profile, registry_property::current_value), text_value("Fast"));
    EXPECT_EQ(rules.property(limit, registry_property::current_value), number_value(7));
    EXPECT_EQ(rules.property(limit, registry_property::read_only), registry_value(false));
    EXPECT_EQ(rules.property(on, registry_property::current_value), registry_value(true));
}

TEST(registry_dependencies, explains_conditions) {
    const auto registry = registry_with(map_of("On",
                                               comparison("Limit", "GEQ", "3") +
                                                   R"(, {"MapTerms": "OR", "Subexpressions": [)" +
                                                   is_custom + R"(, {"MapTerms": "NOT", )" +
                                                   comparison("On", "EQU", "true").substr(1) + "]}",
                                               "On", "Hidden", "true"));
    EXPECT_EQ(registry_dependencies(registry).condition_text(registry.maps[0]),
              "Limit is at least 3 or (Profile is Custom and not On is True)");
}

void expect_same(const registry_dependencies& rules, const test::plain_dependencies& plain,
                 const attribute_registry& registry) {
    for (std::uint32_t i = 0; i < registry.attributes.size(); ++i) {
        for (std::size_t j = 0; j < dp_service::registry_property_count; ++j) {
            const auto which = static_cast<registry_property>(j);
            ASSERT_EQ(rules.property(i, which), plain.property(i, which))
                << i << " " << dp_service::name_of(which);
        }
    }
}

TEST(registry_dependencies, agree_with_a_plain_evaluator) {
    for (int seed = 1; seed <= test::rounds(400); ++seed) {
        SCOPED_TRACE(seed);
        test::generated_registry generated(static_cast<std::uint32_t>(seed));
        const auto& registry = generated.registry;
        registry_dependencies rules(registry);
        std::vector<registry_value> values;
        for (const auto& attribute : registry.attributes) {
            values.push_back(attribute[registry_property::default_value]);
        }
        test::plain_dependencies plain(registry, values, registry_dependencies::most_rounds);
        expect_same(rules, plain, registry);
        for (int batch = 0; batch < 8 && !testing::Test::HasFatalFailure(); ++batch) {
            assignments wanted;
            std::map<std::uint32_t, registry_value> plainly_wanted;
            for (std::uint32_t i = generated.below(4); i-- > 0;) {
                wanted.push_back({generated.attribute(), generated.value()});
                plainly_wanted[wanted.back().attribute] = wanted.back().value;
            }
            const bool is_undone = generated.below(4) == 0;
            if (is_undone) {
                rules.assign(wanted);
                rules.undo();
                expect_same(rules, plain, registry);
                continue;
            }
            const auto before = plain.values();
            plain.assign(plainly_wanted);
            const auto changes = rules.assign(wanted);
            rules.keep();
            expect_same(rules, plain, registry);
            std::size_t next = 0;
            for (std::uint32_t i = 0; i < before.size(); ++i) {
                if (before[i] != plain.values()[i]) {
                    ASSERT_LT(next, changes.size());
                    EXPECT_EQ(changes[next].attribute, i);
                    EXPECT_EQ(changes[next].before, before[i]);
                    ++next;
                }
            }
            EXPECT_EQ(next, changes.size());
        }
    }
}

/// `count` attributes, each of which makes the next one read-only and sets the value of the one in
/// the middle.
attribute_registry large_registry(std::uint32_t count) {
    attribute_registry registry;
    registry.attributes.resize(count);
    registry.maps.resize(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        auto& map = registry.maps[i];
        map.cause = i;
        map.attribute = i % 2 == 0 ? (i + 1) % count : count / 2;
        map.property = i % 2 == 0 ? registry_property::read_only : registry_property::current_value;
        map.value = i % 2 == 0 ? registry_value(true) : number_value(i);
        registry_term& term = map.terms.emplace_back();
        term.attribute = i;
        term.condition = dp_service::registry_condition::greater;
        term.value = number_value(5);
    }
    return registry;
}

TEST(registry_dependencies, cost_of_a_batch_grows_with_its_changes) {
    constexpr std::uint32_t count = 10'000;
    const auto registry = large_registry(count);
    registry_dependencies rules(registry);
    assignments all;
    for (std::uint32_t i = 0; i < count; ++i) {
        all.push_back({i, number_value(9)});
    }
    const double bound = 2 * test::cost_of_100_000_calls();
    const test::cpu_time used;
    rules.assign(all);
    EXPECT_LT(used.seconds(), bound);
    EXPECT_EQ(rules.property(1, registry_property::read_only), registry_value(true));
    EXPECT_EQ(rules.property(count / 2, registry_property::current_value), number_value(9999));
}

}  // namespace
