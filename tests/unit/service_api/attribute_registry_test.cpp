#include "service_api/attribute_registry.hpp"

#include <gmock/gmock.h>

#include <cerrno>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/support/registry_values.hpp"
#include "tests/support/scratch_files.hpp"

namespace {

using dp_service::attribute_registry;
using dp_service::parse_attribute_registry;
using dp_service::registry_property;
using dp_service::registry_term;
using dp_service::registry_type;
using dp_service::registry_value;
using test::number_value;
using test::text_value;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

/// A registry with three attributes and these dependencies.
attribute_registry with_dependencies(const std::string& dependencies) {
    auto read = parse_attribute_registry(R"({"RegistryEntries": {"Attributes": [
{"AttributeName": "Profile", "Type": "Enumeration", "Value": [{"ValueName": "Fast"}, {"ValueName": "Custom"}]},
{"AttributeName": "Limit", "Type": "Integer", "UpperBound": 10},
{"AttributeName": "On", "Type": "Boolean"}], "Dependencies": [)" +
                                         dependencies + "]}}");
    EXPECT_TRUE(read) << read.reason();
    return read ? *std::move(read) : attribute_registry();
}

/// A dependency that maps Limit's `property` to `value` if `terms` hold.
std::string dependency(const std::string& terms, const std::string& property = "ReadOnly",
                       const std::string& value = "true") {
    return R"({"Type": "Map", "DependencyFor": "Profile", "Dependency": {"MapFrom": [)" + terms +
           R"(], "MapToAttribute": "Limit", "MapToProperty": ")" + property +
           R"(", "MapToValue": )" + value + "}}";
}

const std::string term =
    R"({"MapFromAttribute": "Profile", "MapFromProperty": "CurrentValue", "MapFromCondition": "NEQ", "MapFromValue": "Custom"})";

/// The problems of a registry, as "MEMBER MESSAGE".
std::vector<std::string> problems(const attribute_registry& registry) {
    std::vector<std::string> found;
    for (const auto& problem : registry.problems) {
        found.push_back(problem.member + " " + problem.message);
    }
    return found;
}

TEST(attribute_registry, has_everything_that_the_file_says) {
    const auto read = parse_attribute_registry(R"({
"Id": "I", "Name": "N", "Language": "en", "RegistryVersion": "1.2", "OwningEntity": "O",
"RegistryEntries": {
"Menus": [{"MenuName": "M", "MenuPath": "./M", "DisplayName": "Menu", "DisplayOrder": 2, "GrayOut": true, "Hidden": true, "ReadOnly": true}, {}],
"Attributes": [
{"AttributeName": "A", "Type": "Enumeration", "MenuPath": "./M", "ResetRequired": false, "IsSystemUniqueProperty": true,
 "Value": [{"ValueName": "x", "ValueDisplayName": "The X"}, {"ValueName": "y"}, "z"],
 "CurrentValue": "x", "DefaultValue": "y", "ReadOnly": true, "WriteOnly": true, "GrayOut": true, "Hidden": "True", "Immutable": true,
 "HelpText": "two\r\nlines", "WarningText": "careful", "DisplayName": "An A", "DisplayOrder": 7},
{"AttributeName": "B", "Type": "Integer", "CurrentValue": "5", "DefaultValue": 6, "LowerBound": -1, "UpperBound": 9.0, "ScalarIncrement": null},
{"AttributeName": "C", "Type": "Boolean", "CurrentValue": "false", "DefaultValue": true},
{"AttributeName": "D", "Type": "String", "CurrentValue": "", "MinLength": "1", "MaxLength": 4, "ValueExpression": "^a"}]}})");
    ASSERT_TRUE(read) << read.reason();
    EXPECT_THAT(read->problems, IsEmpty());
    EXPECT_EQ(read->id + read->name + read->language + read->version + read->owning_entity,
              "INen1.2O");
    ASSERT_EQ(read->menus.size(), 2U);
    const auto& menu = read->menus[0];
    EXPECT_EQ(menu.name + menu.path + menu.display_name, "M./MMenu");
    EXPECT_EQ(menu.display_order, 2);
    EXPECT_TRUE(menu.gray_out && menu.hidden && menu.read_only);
    EXPECT_FALSE(read->menus[1].display_order);
    ASSERT_EQ(read->attributes.size(), 4U);
    const auto& a = read->attributes[0];
    EXPECT_EQ(a.type, registry_type::enumeration);
    EXPECT_EQ(a.menu_path, "./M");
    EXPECT_FALSE(a.reset_required);
    EXPECT_TRUE(a.is_system_unique);
    ASSERT_EQ(a.choices.size(), 3U);
    EXPECT_EQ(a.choices[0].display_name, "The X");
    EXPECT_EQ(a.choices[1].display_name, "");
    EXPECT_EQ(a.choices[2].name, "z");
    EXPECT_THAT(a.properties,
                ElementsAre(text_value("x"), text_value("y"), true, true, true, true, true,
                            text_value("two\r\nlines"), text_value("careful"), text_value("An A"),
                            number_value(7), registry_value(), registry_value(), registry_value(),
                            registry_value(), registry_value(), text_value("")));
    const auto& b = read->attributes[1];
    EXPECT_TRUE(b.reset_required);
    EXPECT_FALSE(b.is_system_unique);
    EXPECT_EQ(b[registry_property::current_value], number_value(5));
    EXPECT_EQ(b[registry_property::default_value], number_value(6));
    EXPECT_EQ(b[registry_property::lower_bound], number_value(-1));
    EXPECT_EQ(b[registry_property::upper_bound], number_value(9));
    EXPECT_EQ(b[registry_property::scalar_increment], registry_value());
    EXPECT_EQ(b[registry_property::read_only], registry_value(false));
    const auto& c = read->attributes[2];
    EXPECT_EQ(c[registry_property::current_value], registry_value(false));
    EXPECT_EQ(c[registry_property::default_value], registry_value(true));
    const auto& d = read->attributes[3];
    EXPECT_EQ(d[registry_property::current_value], text_value(""));
    EXPECT_EQ(d[registry_property::default_value], registry_value());
    EXPECT_EQ(d[registry_property::min_length], number_value(1));
    EXPECT_EQ(d[registry_property::max_length], number_value(4));
    EXPECT_EQ(d[registry_property::value_expression], text_value("^a"));
}

TEST(attribute_registry, finds_attributes_whose_name_is_unique) {
    const auto read = parse_attribute_registry(R"({"RegistryEntries": {"Attributes": [
{"AttributeName": "A", "Type": "String"}, {"AttributeName": "B", "Type": "String"},
{"AttributeName": "A", "Type": "String"}]}})");
    ASSERT_TRUE(read);
    EXPECT_EQ(read->find("B"), 1U);
    EXPECT_FALSE(read->find("A"));
    EXPECT_FALSE(read->find("C"));
    EXPECT_TRUE(read->belongs_to({"A", "B", "A"}));
    EXPECT_FALSE(read->belongs_to({"A", "B"}));
    EXPECT_FALSE(read->belongs_to({"B", "A", "A"}));
    EXPECT_TRUE(read->has_attributes({"B", "A", "A"}));
    EXPECT_FALSE(read->has_attributes({"A", "B"}));
    EXPECT_FALSE(read->has_attributes({"A", "B", "B"}));
}

TEST(attribute_registry, converts_the_texts_of_settings) {
    const auto registry = with_dependencies("");
    ASSERT_EQ(registry.attributes.size(), 3U);
    EXPECT_EQ(registry.attributes[0].value_of_text("True"), text_value("True"));
    EXPECT_EQ(registry.attributes[1].value_of_text("12"), number_value(12));
    EXPECT_EQ(registry.attributes[1].value_of_text("12x"), text_value("12x"));
    EXPECT_EQ(registry.attributes[2].value_of_text("False"), registry_value(false));
    EXPECT_EQ(registry.attributes[2].value_of_text("yes"), text_value("yes"));
}

TEST(attribute_registry, reads_conditions_with_terms_and_subexpressions) {
    const auto registry = with_dependencies(dependency(
        term + R"(, {"MapTerms": "OR", "Subexpressions": [)" + term +
        R"(, {"MapTerms": "NOT", "MapFromAttribute": "Limit", "MapFromProperty": "UpperBound", "MapFromCondition": "LSS", "MapFromValue": 3}]})"));
    EXPECT_THAT(problems(registry), IsEmpty());
    ASSERT_EQ(registry.maps.size(), 1U);
    const auto& map = registry.maps[0];
    EXPECT_EQ(map.cause, 0U);
    EXPECT_EQ(map.attribute, 1U);
    EXPECT_EQ(map.property, registry_property::read_only);
    EXPECT_EQ(map.value, registry_value(true));
    ASSERT_EQ(map.terms.size(), 2U);
    EXPECT_EQ(map.terms[0].value, text_value("Custom"));
    EXPECT_EQ(map.terms[0].condition, dp_service::registry_condition::not_equal);
    EXPECT_EQ(map.terms[1].joined, registry_term::joint::any);
    ASSERT_EQ(map.terms[1].subexpressions.size(), 2U);
    const auto& inner = map.terms[1].subexpressions[1];
    EXPECT_EQ(inner.joined, registry_term::joint::and_not);
    EXPECT_EQ(inner.attribute, 1U);
    EXPECT_EQ(inner.property, registry_property::upper_bound);
    EXPECT_EQ(inner.value, number_value(3));
}

TEST(attribute_registry, maps_every_property_to_a_value_of_its_kind) {
    for (const auto& [property, value, read] :
         std::vector<std::tuple<std::string, std::string, registry_value>>{
             {"CurrentValue", "\"7\"", number_value(7)},
             {"DefaultValue", "8", number_value(8)},
             {"ReadOnly", "\"true\"", true},
             {"WriteOnly", "true", true},
             {"GrayOut", "false", false},
             {"Hidden", "true", true},
             {"Immutable", "true", true},
             {"HelpText", "\"h\"", text_value("h")},
             {"WarningText", "null", text_value("")},
             {"DisplayName", "\"d\"", text_value("d")},
             {"DisplayOrder", "3", number_value(3)},
             {"LowerBound", "-3", number_value(-3)},
             {"UpperBound", "null", registry_value()},
             {"MinLength", "\"2\"", number_value(2)},
             {"MaxLength", "4.0", number_value(4)},
             {"ScalarIncrement", "5", number_value(5)},
             {"ValueExpression", "\"^1\"", text_value("^1")}}) {
        const auto registry = with_dependencies(dependency(term, property, value));
        ASSERT_EQ(registry.maps.size(), 1U) << property;
        EXPECT_EQ(dp_service::name_of(registry.maps[0].property), property);
        EXPECT_EQ(registry.maps[0].value, read) << property;
    }
}

TEST(attribute_registry, reports_and_ignores_dependencies_that_cannot_be_evaluated) {
    for (const auto& [source, problem] : std::vector<std::pair<std::string, std::string>>{
             {"7", " is not an object"},
             {"{}", " has no Dependency"},
             {R"({"Type": "Script"})", "/Type is not Map"},
             {R"({"DependencyFor": "None", "Dependency": {}})",
              "/DependencyFor there is no attribute \"None\""},
             {R"({"Dependency": {}})", "/Dependency has no MapToAttribute"},
             {R"({"Dependency": {"MapToAttribute": "On"}})", "/Dependency has no MapToProperty"},
             {R"({"Dependency": {"MapToAttribute": "On", "MapToProperty": "CurrentValue"}})",
              " sets a CurrentValue and has no DependencyFor"},
             {dependency("", "ReadOnly"), "/Dependency/MapFrom has no conditions"},
             {dependency(term, "Colour"),
              "/Dependency/MapToProperty \"Colour\" is not a known "
              "property"},
             {dependency(term, "ReadOnly", "7"),
              "/Dependency/MapToValue is not a value that ReadOnly of \"Limit\" can have"},
             {dependency(term, "UpperBound", "1.5"),
              "/Dependency/MapToValue is not a value that UpperBound of \"Limit\" can have"},
             {dependency(term, "CurrentValue", "\"x\""),
              "/Dependency/MapToValue is not a value that CurrentValue of \"Limit\" can have"},
             {dependency(R"({"MapFromAttribute": "None"})"),
              "/Dependency/MapFrom/0/MapFromAttribute there is no attribute \"None\""},
             {dependency(R"({"MapFromAttribute": "On", "MapFromProperty": "HelpText"})"),
              "/Dependency/MapFrom/0/MapFromProperty is a property that conditions cannot read"},
             {dependency(R"({"MapFromAttribute": "On", "MapFromCondition": "IS"})"),
              "/Dependency/MapFrom/0/MapFromCondition is not a known condition"},
             {dependency(term + R"(, {"MapTerms": "XOR"})"),
              "/Dependency/MapFrom/1/MapTerms is none of AND, OR and NOT"},
             {dependency(R"({"Subexpressions": [{}]})"),
              "/Dependency/MapFrom/0/Subexpressions/0 has no MapFromAttribute"}}) {
        const auto registry = with_dependencies(source + ", " + dependency(term));
        EXPECT_THAT(problems(registry), ElementsAre(problem)) << source;
        ASSERT_EQ(registry.maps.size(), 1U) << source;
        EXPECT_EQ(registry.maps[0].position, 1U);
    }
}

TEST(attribute_registry, a_current_value_must_be_one_of_the_choices) {
    const auto registry = with_dependencies(
        R"({"DependencyFor": "On", "Dependency": {"MapFrom": [)" + term +
        R"(], "MapToAttribute": "Profile", "MapToProperty": "CurrentValue", "MapToValue": "Slow"}})");
    EXPECT_THAT(registry.maps, IsEmpty());
    EXPECT_EQ(registry.problems.size(), 1U);
}

TEST(attribute_registry, reports_and_ignores_members_of_the_wrong_kind) {
    const auto read = parse_attribute_registry(R"({"RegistryEntries": {"Menus": 7, "Attributes": [
{"AttributeName": "A", "Type": "Integer", "WarningText": 5, "Hidden": "maybe", "LowerBound": 1.5, "CurrentValue": true}]}})");
    ASSERT_TRUE(read);
    EXPECT_THAT(
        problems(*read),
        ElementsAre("/CurrentValue is not a value of the attribute's type",
                    "/Hidden is neither true nor false", "/WarningText is not a text",
                    "/LowerBound is not a whole number of 64 bits", "/Menus is not a list"));
    EXPECT_EQ(read->problems[0].list, "Attributes");
    EXPECT_EQ(read->attributes[0][registry_property::current_value], registry_value());
    EXPECT_EQ(read->attributes[0][registry_property::hidden], registry_value(false));
}

TEST(attribute_registry, refuses_what_is_not_a_registry) {
    for (const auto& [source, reason] : std::vector<std::pair<std::string, std::string>>{
             {"", "is not JSON at byte 0"},
             {"{\"RegistryEntries\": ", "is not JSON at byte 20"},
             {std::string(100'000, '['), "is not JSON at byte 64: nested deeper"},
             {"7", "/RegistryEntries: is not an object"},
             {R"({"RegistryEntries": []})", "/RegistryEntries: is not an object"},
             {R"({"RegistryEntries": {}})", "/RegistryEntries/Attributes: is not a list"},
             {R"({"RegistryEntries": {"Attributes": [7]}})", "/RegistryEntries/Attributes/0: "},
             {R"({"RegistryEntries": {"Attributes": [{"AttributeName": "A", "Type": "Date"}]}})",
              "/RegistryEntries/Attributes/0: is not an attribute"},
             {R"({"RegistryEntries": {"Attributes": [{"AttributeName": 7, "Type": "String"}]}})",
              "/RegistryEntries/Attributes/0: is not an attribute"}}) {
        const auto read = parse_attribute_registry(source);
        ASSERT_FALSE(read) << source;
        EXPECT_THAT(read.reason(), StartsWith(reason));
        EXPECT_EQ(read.code(), EBADMSG);
    }
    const auto large =
        parse_attribute_registry(std::string(dp_service::registry_size_limit + 1, ' '));
    ASSERT_FALSE(large);
    EXPECT_EQ(large.code(), EFBIG);
}

TEST(attribute_registry, reads_the_sample_registry) {
    const auto read = parse_attribute_registry(
        test::read_file(DP_SOURCE_DIR "/examples/registry/server.registry.json"));
    ASSERT_TRUE(read) << read.reason();
    EXPECT_THAT(problems(*read), IsEmpty());
    EXPECT_EQ(read->attributes.size(), 155U);
    EXPECT_EQ(read->menus.size(), 22U);
    EXPECT_EQ(read->maps.size(), 2U);
}

}  // namespace
