#include "tools/dp-template/kept_registry.hpp"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "service_api/attribute_registry.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/support/test_data.hpp"

namespace {

using dp_support::json_kind;
using dp_support::json_value;
using testing::ElementsAre;
using testing::IsEmpty;

const json_value& member_at(const json_value& object, const char* name) {
    static const json_value none;
    const json_value* found = object.find(name);
    EXPECT_NE(found, nullptr) << name;
    return found == nullptr ? none : *found;
}

/// Whether two values are the same in every field, and their members and items in the same order.
bool is_same(const json_value& a, const json_value& b) {
    return a.kind == b.kind && a.name == b.name && a.text == b.text && a.truth == b.truth &&
           a.integer == b.integer && a.real == b.real &&
           std::equal(a.items.begin(), a.items.end(), b.items.begin(), b.items.end(), is_same);
}

struct kept {
    json_value before;
    json_value after;
    std::vector<std::string> messages;  ///< "POINTER: MESSAGE"
};

kept keep(const std::string& source) {
    const auto document = dp_support::parse_json(source);
    EXPECT_EQ(document.error, "");
    auto compiled = dp_tools::compile_registry(document.root, std::nullopt);
    const auto written = dp_support::parse_json(dp_tools::kept_registry(document.root, compiled));
    EXPECT_EQ(written.error, "");
    kept result{document.root, written.root, {}};
    for (const auto& found : compiled.findings) {
        result.messages.push_back(found.pointer + ": " + found.message);
    }
    return result;
}

/// Fails unless only the passwords are missing.
void expect_round_trip(const std::string& source) {
    const kept registry = keep(source);
    ASSERT_EQ(registry.after.items.size(), registry.before.items.size());
    for (std::size_t i = 0; i < registry.before.items.size(); ++i) {
        const json_value& before = registry.before.items[i];
        if (before.name != "RegistryEntries") {
            EXPECT_TRUE(is_same(before, registry.after.items[i])) << before.name;
        }
    }
    const json_value& before = member_at(registry.before, "RegistryEntries");
    const json_value& after = member_at(registry.after, "RegistryEntries");
    ASSERT_EQ(after.items.size(), before.items.size());
    for (std::size_t i = 0; i < before.items.size(); ++i) {
        if (before.items[i].name != "Attributes") {
            EXPECT_TRUE(is_same(before.items[i], after.items[i])) << before.items[i].name;
        }
    }
    const auto& kept_attributes = member_at(after, "Attributes").items;
    std::size_t next = 0;
    for (const json_value& attribute : member_at(before, "Attributes").items) {
        if (member_at(attribute, "Type").text != "Password") {
            ASSERT_LT(next, kept_attributes.size());
            EXPECT_TRUE(is_same(attribute, kept_attributes[next]))
                << member_at(attribute, "AttributeName").text;
            ++next;
        }
    }
    EXPECT_EQ(next, kept_attributes.size());
}

TEST(kept_registry, is_the_sample_registry_without_its_password) {
    for (const char* name : {"server", "server-update"}) {
        expect_round_trip(test::read_file(std::string(DP_SOURCE_DIR "/examples/registry/") + name +
                                          ".registry.json"));
    }
}

TEST(kept_registry, is_a_real_registry) {
    const std::string name = "server-a.registry.json";
    if (const std::string missing = test::missing_data(name); !missing.empty()) {
        GTEST_SKIP() << missing;
    }
    expect_round_trip(test::read_file(test::data_file(name)));
}

TEST(kept_registry, has_every_field_and_also_unknown_ones) {
    expect_round_trip(
        R"({"Id": "x", "Oem": {"Big": 18446744073709551615, "Small": 1.10, "List": [[], {}, null]},
"RegistryEntries": {"More": 1, "Menus": [{"MenuName": "b"}, {"MenuName": "a", "Hidden": true}, 7],
"Attributes": [
{"AttributeName": "A", "Type": "Integer", "Colour": "red", "HelpText": "two\r\nlines\t\u0000\ud83d\ude00 \"q\" \\", "WarningText": 5,
 "Hidden": null, "GrayOut": true, "Immutable": false, "ResetRequired": false, "WriteOnly": "true", "IsSystemUniqueProperty": true,
 "LowerBound": 1.0, "UpperBound": "9", "CurrentValue": 3},
{"AttributeName": "Z", "Type": "Enumeration", "Value": [{"ValueName": "y", "ValueDisplayName": "The Y", "Oem": {}}, "x"], "DefaultValue": "x"}],
"Dependencies": [{"Type": "Script"}, {"DependencyFor": "None"}]}})");
}

TEST(kept_registry, leaves_out_what_is_unfit_and_whatever_names_a_password) {
    const auto map = [](const std::string& cause, const std::string& from, const std::string& to) {
        return R"({"DependencyFor": ")" + cause +
               R"(", "Dependency": {"MapFrom": [{"Subexpressions": [{"MapFromAttribute": ")" +
               from +
               R"(", "MapFromCondition": "EQU", "MapFromValue": "v"}]}], "MapToAttribute": ")" +
               to + R"(", "MapToProperty": "Hidden", "MapToValue": true}})";
    };
    const kept registry = keep(R"({"RegistryEntries": {"Attributes": [
{"AttributeName": "P", "Type": "Password", "CurrentValue": "secret"},
{"AttributeName": "A", "Type": "String", "CurrentValue": "v"},
{"AttributeName": "U", "Type": "Integer", "LowerBound": -5},
{"AttributeName": "B", "Type": "String", "CurrentValue": "v", "WarningText": 7}],
"Dependencies": [)" + map("P", "A", "A") +
                               "," + map("A", "P", "A") + "," + map("A", "A", "P") + "," +
                               map("A", "A", "U") + "," + map("A", "A", "B") + "]}}");
    const auto& entries = member_at(registry.after, "RegistryEntries");
    ASSERT_EQ(member_at(entries, "Attributes").items.size(), 2U);
    EXPECT_EQ(member_at(member_at(entries, "Attributes").items[0], "AttributeName").text, "A");
    EXPECT_EQ(member_at(member_at(entries, "Attributes").items[1], "AttributeName").text, "B");
    EXPECT_EQ(member_at(entries, "Dependencies").items.size(), 2U);
    const std::string left_out =
        ": the dependency is left out, because it names the password \"P\"";
    EXPECT_THAT(
        registry.messages,
        ElementsAre(
            "/RegistryEntries/Attributes/0: the password \"P\" is left out: its value must not be "
            "stored in files",
            testing::StartsWith("/RegistryEntries/Attributes/1: there is no default value"),
            testing::StartsWith("/RegistryEntries/Attributes/2/LowerBound: -5 is not"),
            "/RegistryEntries/Attributes/3/WarningText: is not a text; it is ignored",
            "/RegistryEntries/Dependencies/0" + left_out,
            "/RegistryEntries/Dependencies/1" + left_out,
            "/RegistryEntries/Dependencies/2" + left_out,
            "/RegistryEntries/Dependencies/3/Dependency/MapToAttribute: there is no attribute "
            "\"U\"; the dependency is ignored"));
}

}  // namespace
