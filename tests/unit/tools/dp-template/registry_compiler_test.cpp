#include "tools/dp-template/registry_compiler.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "batch/batch_file_settings_rdr.hpp"
#include "service_api/choice_list.hpp"
#include "service_api/template_flags.hpp"
#include "support/json.hpp"
#include "support/line_index.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/support/test_data.hpp"

namespace {

using dp_tools::compiled_registry;
using dp_tools::finding;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

compiled_registry compile(const std::string& text,
                          const std::optional<std::string>& collection = std::nullopt) {
    const auto document = dp_support::parse_json(text);
    EXPECT_EQ(document.error, "");
    return dp_tools::compile_registry(document.root, collection);
}

/// A registry of these attributes.
std::string registry(const std::string& attributes) {
    return "{\"RegistryEntries\": {\"Attributes\": [" + attributes + "]}}";
}

compiled_registry compile_attributes(const std::string& attributes) {
    return compile(registry(attributes));
}

/// Compiles one attribute named A of this type that has these other members.
compiled_registry compile_one(const std::string& type, const std::string& members) {
    return compile_attributes(R"({"AttributeName": "A", "Type": ")" + type + "\"" +
                              (members.empty() ? "" : ", ") + members + "}");
}

std::vector<std::string> messages(const compiled_registry& compiled, finding::severity weight) {
    std::vector<std::string> lines;
    for (const auto& found : compiled.findings) {
        if (found.weight == weight) {
            lines.push_back(found.pointer + ": " + found.message);
        }
    }
    return lines;
}

std::vector<std::string> unfit(const compiled_registry& compiled) {
    return messages(compiled, finding::severity::unfit);
}

std::vector<std::string> warnings(const compiled_registry& compiled) {
    return messages(compiled, finding::severity::warning);
}

constexpr const char* on_off = R"("Value": [{"ValueName": "On"}, {"ValueName": "Off"}])";

TEST(compile_registry, an_enumeration_keeps_its_choices_and_values) {
    const auto compiled = compile_attributes(R"({
        "AttributeName": "BootMode", "Type": "Enumeration", "DisplayName": "Boot mode",
        "HelpText": "How to start.", "MenuPath": "./Setup/Boot", "ReadOnly": false,
        "Value": [{"ValueName": "UEFI", "ValueDisplayName": "New"}, {"ValueName": "A,B\\C"}],
        "DefaultValue": "UEFI", "CurrentValue": "A,B\\C"})");
    EXPECT_THAT(compiled.findings, IsEmpty());
    ASSERT_THAT(compiled.attributes, SizeIs(1));
    const auto& info = compiled.attributes[0].info;
    EXPECT_EQ(info.id, "BootMode");
    EXPECT_EQ(info.cfg, "Boot");
    EXPECT_EQ(info.cfgname, "Boot");
    EXPECT_EQ(info.grp, "./Setup/Boot");
    EXPECT_EQ(info.dsc, "Boot mode");
    EXPECT_EQ(info.fds, "How to start.");
    EXPECT_EQ(info.type, 1);
    EXPECT_EQ(info.flg, 0U);
    EXPECT_EQ(info.num, 2U);
    EXPECT_THAT(dp_service::choice_list::split(info.chc), ElementsAre("UEFI", "A,B\\C"));
    EXPECT_EQ(info.dft, "UEFI");
    EXPECT_EQ(compiled.attributes[0].value, "A,B\\C");
}

TEST(compile_registry, a_boolean_is_an_enumeration_of_false_and_true) {
    const auto compiled = compile_one("Boolean", R"("DefaultValue": false, "CurrentValue": true)");
    ASSERT_THAT(compiled.attributes, SizeIs(1));
    const auto& info = compiled.attributes[0].info;
    EXPECT_EQ(info.type, 1);
    EXPECT_EQ(info.num, 2U);
    EXPECT_EQ(info.chc, "False,True");
    EXPECT_EQ(info.dft, "False");
    EXPECT_EQ(compiled.attributes[0].value, "True");
    EXPECT_EQ(compile_one("Boolean", R"("DefaultValue": "TRUE")").attributes[0].info.dft, "True");
    EXPECT_THAT(unfit(compile_one("Boolean", R"("DefaultValue": 1)")),
                ElementsAre(HasSubstr("/DefaultValue: is neither true nor false")));
}

TEST(compile_registry, an_integer_keeps_its_bounds_and_step) {
    const auto compiled = compile_one(
        "Integer",
        R"("LowerBound": 16, "UpperBound": 4294967295, "ScalarIncrement": 8, "DefaultValue": 64)");
    EXPECT_THAT(compiled.findings, IsEmpty());
    const auto& info = compiled.attributes.at(0).info;
    EXPECT_EQ(info.type, 3);
    EXPECT_EQ(info.min, 16U);
    EXPECT_EQ(info.max, 4294967295U);
    EXPECT_EQ(info.stp, 8U);
    EXPECT_EQ(info.dft, "64");
    EXPECT_EQ(compiled.attributes[0].value, "64");
}

TEST(compile_registry, missing_and_null_bounds_are_no_limit_and_a_step_is_at_least_one) {
    for (const char* members :
         {R"("DefaultValue": 3)",
          R"("DefaultValue": 3, "LowerBound": null, "UpperBound": null, "ScalarIncrement": null)",
          R"("DefaultValue": 3, "LowerBound": "", "ScalarIncrement": 0)"}) {
        const auto compiled = compile_one("Integer", members);
        EXPECT_THAT(compiled.findings, IsEmpty()) << members;
        const auto& info = compiled.attributes.at(0).info;
        EXPECT_EQ(info.min, 0U);
        EXPECT_EQ(info.max, 4294967295U);
        EXPECT_EQ(info.stp, 1U);
    }
}

TEST(compile_registry, numbers_may_be_texts_or_reals_when_they_are_clear) {
    const auto compiled = compile_one(
        "Integer",
        R"("LowerBound": "10", "UpperBound": 2e1, "DefaultValue": "15", "CurrentValue": 16.0)");
    EXPECT_THAT(compiled.findings, IsEmpty());
    EXPECT_EQ(compiled.attributes.at(0).info.min, 10U);
    EXPECT_EQ(compiled.attributes[0].info.max, 20U);
    EXPECT_EQ(compiled.attributes[0].info.dft, "15");
    EXPECT_EQ(compiled.attributes[0].value, "16");
}

TEST(compile_registry, numbers_that_do_not_fit_are_unfit) {
    for (const char* bad : {"-1", "4294967296", "1.5", "1e30", "\"0x10\"", "\"+1\"", "\" 1\"",
                            "true", "[]", "{}", "18446744073709551616", "-1e400"}) {
        for (const char* name :
             {"LowerBound", "UpperBound", "ScalarIncrement", "DefaultValue", "CurrentValue"}) {
            const auto document =
                dp_support::parse_json(registry(R"({"AttributeName": "A", "Type": "Integer", ")" +
                                                std::string(name) + "\": " + bad + "}"));
            if (!document.error.empty()) {
                continue;  // a number that the JSON parser refuses
            }
            const auto compiled = dp_tools::compile_registry(document.root, std::nullopt);
            EXPECT_EQ(compiled.unfit, 1U) << name << bad;
            EXPECT_THAT(
                unfit(compiled),
                testing::Contains(HasSubstr("/RegistryEntries/Attributes/0/" + std::string(name))))
                << bad;
        }
    }
    EXPECT_THAT(unfit(compile_one("Integer", R"("LowerBound": 5, "UpperBound": 4)")),
                ElementsAre(HasSubstr("/LowerBound: the lower bound 5 is above")));
    EXPECT_THAT(unfit(compile_one("String", R"("MinLength": 5, "MaxLength": 4)")),
                ElementsAre(HasSubstr("/MinLength: the least length 5 is above")));
}

TEST(compile_registry, a_string_keeps_lengths_and_pattern) {
    const auto compiled = compile_one(
        "String",
        R"("MinLength": 1, "MaxLength": 8, "ValueExpression": "^[a-z]+$", "DefaultValue": "abc")");
    EXPECT_THAT(compiled.findings, IsEmpty());
    const auto& info = compiled.attributes.at(0).info;
    EXPECT_EQ(info.type, 4);
    EXPECT_EQ(info.minc, 1U);
    EXPECT_EQ(info.maxc, 8U);
    EXPECT_EQ(info.reg, "^[a-z]+$");
    EXPECT_EQ(info.dft, "abc");
}

TEST(compile_registry, a_string_without_lengths_has_no_limit) {
    for (const char* members :
         {"", R"("MinLength": 0, "MaxLength": 0)", R"("MaxLength": null, "ValueExpression": null)",
          R"("ValueExpression": "")"}) {
        const auto compiled = compile_one("String", members);
        ASSERT_THAT(compiled.attributes, SizeIs(1)) << members;
        EXPECT_EQ(compiled.attributes[0].info.minc, 0U);
        EXPECT_EQ(compiled.attributes[0].info.maxc, 4294967295U);
        EXPECT_EQ(compiled.attributes[0].info.reg, "");
    }
}

TEST(compile_registry, a_pattern_that_does_not_compile_is_unfit) {
    for (const char* pattern : {"(", "[a", "*", "a{2,1}", "(?<n>a)(?<n>b)", "\\\\"}) {
        EXPECT_THAT(
            unfit(compile_one("String", "\"ValueExpression\": \"" + std::string(pattern) + "\"")),
            ElementsAre(HasSubstr("/ValueExpression: the pattern")))
            << pattern;
    }
    EXPECT_THAT(unfit(compile_one("String", R"("ValueExpression": 5)")),
                ElementsAre(HasSubstr("/ValueExpression: is a number instead of a text")));
}

TEST(compile_registry, a_string_default_may_be_a_number_but_not_a_boolean) {
    EXPECT_EQ(compile_one("String", R"("DefaultValue": 42)").attributes.at(0).info.dft, "42");
    EXPECT_THAT(unfit(compile_one("String", R"("DefaultValue": true)")), SizeIs(1));
    EXPECT_THAT(unfit(compile_one("String", R"("DefaultValue": ["a"])")), SizeIs(1));
}

TEST(compile_registry, the_list_selection_of_a_boot_order_is_not_changed) {
    const auto compiled =
        compile_one("String", R"("DefaultValue": "[value='B',order='2'],[value='A',order='1']")");
    EXPECT_EQ(compiled.attributes.at(0).info.dft, "[value='B',order='2'],[value='A',order='1']");
}

TEST(compile_registry, a_value_that_the_registry_excludes_is_kept_with_a_warning) {
    const auto strange = compile_one("Enumeration", std::string(on_off) +
                                                        R"(, "DefaultValue": "Auto",
                                                           "CurrentValue": "on")");
    EXPECT_EQ(strange.attributes.at(0).info.dft, "Auto");
    EXPECT_EQ(strange.attributes[0].value, "on");
    EXPECT_THAT(warnings(strange),
                ElementsAre("/RegistryEntries/Attributes/0/DefaultValue: the value \"Auto\" is not "
                            "among the choices; it is kept",
                            HasSubstr("/CurrentValue: the value \"on\"")));
    EXPECT_THAT(warnings(compile_one("Integer", R"("UpperBound": 5, "DefaultValue": 6)")),
                ElementsAre(HasSubstr("outside the bounds")));
    EXPECT_THAT(warnings(compile_one(
                    "Integer", R"("LowerBound": 1, "ScalarIncrement": 2, "DefaultValue": 4)")),
                ElementsAre(HasSubstr("not a whole number of steps")));
    EXPECT_THAT(warnings(compile_one("String", R"("MaxLength": 2, "DefaultValue": "abc")")),
                ElementsAre(HasSubstr("longer than the greatest length")));
    EXPECT_THAT(warnings(compile_one("String", R"("MinLength": 2, "DefaultValue": "a")")),
                ElementsAre(HasSubstr("shorter than the least length")));
    EXPECT_THAT(
        warnings(compile_one("String", R"("ValueExpression": "^[a-z]$", "DefaultValue": "B")")),
        ElementsAre(HasSubstr("does not match the pattern")));
    EXPECT_THAT(
        warnings(compile_one("String", R"("ValueExpression": "^(a+)+$", "DefaultValue": ")" +
                                           std::string(60, 'a') + "b\"")),
        ElementsAre(HasSubstr("takes too much work to compare with the pattern")));
    // Characters count, not bytes, and a pattern matches anywhere.
    EXPECT_THAT(warnings(compile_one("String",
                                     R"("MaxLength": 2, "ValueExpression": "\u00fc",
                                        "DefaultValue": "\u00fc\u00fc")")),
                IsEmpty());
    EXPECT_THAT(warnings(compile_one("String",
                                     R"("MaxLength": 2, "ValueExpression": "^a",
                                        "DefaultValue": "[value='B',order='1']")")),
                IsEmpty());
}

TEST(compile_registry, the_initial_value_is_the_current_value_or_else_the_default) {
    EXPECT_EQ(
        compile_one("String", R"("DefaultValue": "d", "CurrentValue": "c")").attributes.at(0).value,
        "c");
    EXPECT_EQ(compile_one("String", R"("DefaultValue": "d", "CurrentValue": null)")
                  .attributes.at(0)
                  .value,
              "d");
}

TEST(compile_registry, the_current_value_replaces_a_missing_default_with_a_single_warning) {
    const auto compiled = compile_attributes(
        R"({"AttributeName": "A", "Type": "String", "CurrentValue": "c", "DefaultValue": null},
           {"AttributeName": "B", "Type": "Integer", "CurrentValue": 5},
           {"AttributeName": "C", "Type": "Integer", "CurrentValue": 5, "DefaultValue": 4})");
    EXPECT_EQ(compiled.attributes.at(0).value, "c");
    EXPECT_EQ(compiled.attributes[0].info.dft, "c");
    EXPECT_EQ(compiled.attributes.at(1).info.dft, "5");
    EXPECT_EQ(compiled.attributes.at(2).info.dft, "4");
    EXPECT_THAT(warnings(compiled),
                ElementsAre(testing::AllOf(HasSubstr("/0: there is no default value"),
                                           HasSubstr("2 attributes"))));
}

TEST(compile_registry, attributes_without_any_value_are_empty_with_a_single_warning) {
    const auto compiled = compile_attributes(
        R"({"AttributeName": "A", "Type": "Integer"},
           {"AttributeName": "B", "Type": "Boolean", "DefaultValue": "", "CurrentValue": null},
           {"AttributeName": "C", "Type": "Enumeration", "DefaultValue": "", )" +
        std::string(on_off) + "}");
    ASSERT_THAT(compiled.attributes, SizeIs(3));
    for (const auto& attribute : compiled.attributes) {
        EXPECT_EQ(attribute.value, "");
        EXPECT_EQ(attribute.info.dft, "");
    }
    EXPECT_THAT(warnings(compiled),
                ElementsAre(testing::AllOf(HasSubstr("/0: there is neither a current"),
                                           HasSubstr("3 attributes"))));
}

TEST(compile_registry, an_empty_text_is_a_value_where_it_is_a_choice) {
    const auto compiled = compile_one(
        "Enumeration", R"("Value": [{"ValueName": ""}, {"ValueName": "On"}], "DefaultValue": "")");
    EXPECT_THAT(compiled.findings, IsEmpty());
    EXPECT_THAT(dp_service::choice_list::split(compiled.attributes.at(0).info.chc),
                ElementsAre("", "On"));
}

TEST(compile_registry, read_only_and_immutable_attributes_have_the_flag) {
    const auto flags = [](const std::string& members) {
        return compile_one("String", members).attributes.at(0).info.flg;
    };
    EXPECT_EQ(flags(R"("ReadOnly": true)"), dp_service::template_flags::read_only);
    EXPECT_EQ(flags(R"("Immutable": true, "ReadOnly": false)"),
              dp_service::template_flags::read_only);
    EXPECT_EQ(flags(R"("ReadOnly": "True")"), dp_service::template_flags::read_only);
    EXPECT_EQ(flags(R"("ReadOnly": null)"), 0U);
    EXPECT_EQ(flags(""), 0U);
    EXPECT_THAT(unfit(compile_one("String", R"("ReadOnly": "perhaps")")), SizeIs(1));
}

TEST(compile_registry, unknown_members_are_ignored) {
    const auto compiled = compile(R"({"RegistryEntries": {"Attributes": [
        {"AttributeName": "A", "Type": "Boolean", "DefaultValue": true, "Hidden": true,
         "GrayOut": false, "WarningText": "Careful", "Oem": {"X": [1, 2, {"Y": null}]},
         "UefiDevicePath": "VenHw", "DisplayOrder": 5, "Value": "not looked at"}],
        "Dependencies": [{"Dependency": {"MapFrom": [{"MapFromAttribute": "A"}]}}],
        "Menus": {"not": "a list"}}, "Name": 7})");
    EXPECT_THAT(compiled.findings, IsEmpty());
    EXPECT_THAT(compiled.attributes, SizeIs(1));
}

TEST(compile_registry, a_missing_display_name_is_the_attribute_name) {
    EXPECT_EQ(compile_one("String", "").attributes.at(0).info.dsc, "A");
}

TEST(compile_registry, passwords_are_left_out_with_a_notice) {
    const auto compiled = compile_attributes(
        R"({"AttributeName": "P", "Type": "Password", "CurrentValue": "secret"},
           {"AttributeName": "A", "Type": "String", "DefaultValue": ""})");
    EXPECT_EQ(compiled.passwords, 1U);
    EXPECT_EQ(compiled.unfit, 0U);
    ASSERT_THAT(compiled.attributes, SizeIs(1));
    EXPECT_THAT(messages(compiled, finding::severity::notice),
                ElementsAre(HasSubstr("password \"P\"")));
    EXPECT_THAT(dp_tools::settings_text(compiled.attributes), Not(HasSubstr("secret")));
}

TEST(compile_registry, every_unfit_attribute_is_listed_with_its_place) {
    const std::string text = registry(
        "{\"AttributeName\": \"A.B\", \"Type\": \"String\"},\n"
        "  {\"AttributeName\": \"\", \"Type\": \"String\"},\n"
        "  {\"AttributeName\": 7, \"Type\": \"String\"},\n"
        "  {\"Type\": \"String\"},\n"
        "  {\"AttributeName\": \"C\"},\n"
        "  {\"AttributeName\": \"D\", \"Type\": \"Text\"},\n"
        "  \"E\",\n"
        "  {\"AttributeName\": \"fa\xC3\xA7"
        "ade\", \"Type\": \"String\"},\n"
        "  {\"AttributeName\": \"good\", \"Type\": \"String\", \"DefaultValue\": \"\"}");
    const auto compiled = compile(text);
    EXPECT_EQ(compiled.unfit, 8U);
    EXPECT_THAT(
        unfit(compiled),
        ElementsAre(HasSubstr("Attributes/0/AttributeName: the name \"A.B\" contains a dot"),
                    HasSubstr("Attributes/1/AttributeName: the name \"\" is empty"),
                    HasSubstr("Attributes/2/AttributeName: is a number instead of a text"),
                    HasSubstr("Attributes/3: the attribute has no AttributeName"),
                    HasSubstr("Attributes/4: the attribute has no Type"),
                    HasSubstr("Attributes/5/Type: \"Text\" is none of"),
                    HasSubstr("Attributes/6: is a text instead of an object"),
                    HasSubstr("Attributes/7/AttributeName: the name")));
    ASSERT_THAT(compiled.attributes, SizeIs(1));
    EXPECT_EQ(compiled.attributes[0].info.id, "good");
    const auto place = dp_support::line_index(text).position_of(compiled.findings[1].offset);
    EXPECT_EQ(place.line, 2U);
    EXPECT_EQ(place.column, 21U);
}

TEST(compile_registry, an_attribute_may_be_unfit_for_several_reasons) {
    EXPECT_THAT(unfit(compile_attributes(
                    R"({"AttributeName": "a b", "Type": "Integer", "LowerBound": -1,
                        "DefaultValue": "x", "ReadOnly": 3})")),
                SizeIs(4));
}

TEST(compile_registry, a_name_is_unique_in_a_collection) {
    const auto compiled = compile_attributes(
        R"({"AttributeName": "A", "Type": "String", "DefaultValue": "1", "MenuPath": "./X"},
           {"AttributeName": "A", "Type": "String", "DefaultValue": "2", "MenuPath": "./Y"},
           {"AttributeName": "A", "Type": "String", "DefaultValue": "3", "MenuPath": "./X/Z"})");
    EXPECT_THAT(unfit(compiled),
                ElementsAre("/RegistryEntries/Attributes/2/AttributeName: the collection X already "
                            "has an attribute \"A\": /RegistryEntries/Attributes/0"));
    EXPECT_THAT(compiled.attributes, SizeIs(2));
}

TEST(compile_registry, a_repeated_member_makes_the_attribute_unfit) {
    EXPECT_THAT(unfit(compile_one("String", R"("DefaultValue": "a", "DefaultValue": "b")")),
                ElementsAre("/RegistryEntries/Attributes/0/DefaultValue: appears twice in "
                            "the same attribute"));
}

TEST(compile_registry, values_that_cannot_be_encoded_are_unfit) {
    EXPECT_THAT(unfit(compile_one("String", R"("DefaultValue": "two\nlines")")),
                ElementsAre(HasSubstr("contains the control character 0A")));
    EXPECT_THAT(unfit(compile_one("String", R"("CurrentValue": "nul\u0000")")),
                ElementsAre(HasSubstr("contains the control character 00")));
    EXPECT_THAT(unfit(compile_one("String", R"("DefaultValue": "\u00a7 1")")),
                ElementsAre(HasSubstr("byte A7")));
    // The files of values allow more than the template.
    const auto current = compile_one("String", R"("CurrentValue": "\u00a7 1")");
    EXPECT_THAT(unfit(current), IsEmpty());
    EXPECT_EQ(current.attributes.at(0).value, "\xC2\xA7 1");
    EXPECT_EQ(current.attributes[0].info.dft, "");
    EXPECT_THAT(unfit(compile_one("String", R"("ValueExpression": "[\u00a7]")")), SizeIs(1));
    EXPECT_THAT(unfit(compile_one("Enumeration",
                                  R"("Value": [{"ValueName": "On"}, {"ValueName": "\u0155"}])")),
                ElementsAre(HasSubstr("/Value/1/ValueName: the choice")));
}

TEST(compile_registry, choices_may_be_texts_or_numbers_and_are_unique) {
    const auto compiled =
        compile_one("Enumeration", R"("Value": ["A", {"ValueName": 5}, "A"], "DefaultValue": 5)");
    EXPECT_THAT(unfit(compiled), IsEmpty());
    EXPECT_THAT(warnings(compiled),
                ElementsAre(HasSubstr("/Value/2: the choice \"A\" appears twice")));
    EXPECT_EQ(compiled.attributes.at(0).info.chc, "A,5");
    EXPECT_EQ(compiled.attributes[0].info.num, 2U);
}

TEST(compile_registry, an_enumeration_without_usable_choices_is_unfit) {
    for (const char* members :
         {"", R"("Value": null)", R"("Value": [])", R"("Value": "On")", R"("Value": [{}])",
          R"("Value": [{"ValueName": null}])", R"("Value": [true])", R"("Value": [[]])",
          R"("Value": [{"ValueName": ""}])"}) {
        EXPECT_EQ(compile_one("Enumeration", members).unfit, 1U) << members;
    }
}

TEST(compile_registry, a_template_record_may_have_the_greatest_size) {
    const auto of_size = [](std::size_t length) {
        return compile_one("String", "\"DefaultValue\": \"" + std::string(length, 'x') + "\"");
    };
    const auto small = of_size(1);
    const std::size_t rest = dp_tools::template_text(small.attributes).size() - 2 -
                             1;  // end of the record, newline, value
    const std::size_t longest = template_info::record_limit - rest;
    EXPECT_EQ(of_size(longest).unfit, 0U);
    EXPECT_THAT(unfit(of_size(longest + 1)), ElementsAre(HasSubstr("16384 bytes")));
    const std::string path = test::root() + "/text";
    test::write_file(path, dp_tools::template_text(of_size(longest).attributes));
    std::ifstream in(path, std::ios::binary);
    std::vector<template_info> entries;
    template_info::read_settings(in, entries, "BIOS");
    ASSERT_THAT(entries, SizeIs(1));
    EXPECT_EQ(entries[0].dft.size(), longest);
}

TEST(compile_registry, a_help_text_that_is_too_long_is_left_out) {
    const auto compiled = compile_one(
        "String", R"("DefaultValue": "", "HelpText": ")" + std::string(17'000, 'h') + "\"");
    EXPECT_EQ(compiled.unfit, 0U);
    EXPECT_EQ(compiled.attributes.at(0).info.fds, "");
    EXPECT_THAT(warnings(compiled), ElementsAre(HasSubstr("/HelpText: is left out")));
}

TEST(compile_registry, characters_of_descriptions_are_replaced_with_a_single_warning) {
    const auto compiled = compile_attributes(
        R"({"AttributeName": "A", "Type": "String", "DefaultValue": "",
            "DisplayName": "\u00a7 1", "HelpText": "one\ntwo"},
           {"AttributeName": "B", "Type": "String", "DefaultValue": "", "MenuPath": "./Fa\u00e7ade"},
           {"AttributeName": "C", "Type": "String", "DefaultValue": "", "HelpText": "fine"})");
    EXPECT_EQ(compiled.attributes.at(0).info.dsc, "S 1");
    EXPECT_EQ(compiled.attributes[0].info.fds, "one two");
    EXPECT_EQ(compiled.attributes[1].info.grp, "./Facade");
    EXPECT_EQ(compiled.attributes[1].info.cfgname, "Facade");
    EXPECT_THAT(warnings(compiled),
                ElementsAre(testing::AllOf(HasSubstr("/0: descriptions contain"),
                                           HasSubstr("2 attributes"))));
}

TEST(compile_registry, no_text_puts_an_attribute_into_a_second_collection) {
    const auto compiled = compile_attributes(
        R"({"AttributeName": "A", "Type": "String", "DefaultValue": "", "MenuPath": "./X",
            "DisplayName": "see cfg:Y", "HelpText": "cfg:X"},
           {"AttributeName": "B", "Type": "String", "DefaultValue": "cfg:X", "MenuPath": "./Y"},
           {"AttributeName": "C", "Type": "String", "DefaultValue": "cfg:X1", "MenuPath": "./Y"})");
    EXPECT_EQ(compiled.attributes.at(0).info.dsc, "see cfg:Y.");
    EXPECT_EQ(compiled.attributes[0].info.fds, "cfg:X");
    EXPECT_THAT(unfit(compiled), ElementsAre(HasSubstr("Attributes/1: the text \"cfg:X\" would")));
    EXPECT_THAT(compiled.attributes, SizeIs(2));
}

TEST(compile_registry, a_given_collection_gets_all_attributes) {
    const auto compiled = compile(
        registry(R"({"AttributeName": "A", "Type": "String", "MenuPath": "./X", "DefaultValue": ""},
                    {"AttributeName": "B", "Type": "String", "DefaultValue": ""})"),
        "Setup");
    EXPECT_THAT(compiled.findings, IsEmpty());
    EXPECT_EQ(compiled.attributes.at(0).info.cfg, "Setup");
    EXPECT_EQ(compiled.attributes.at(1).info.cfg, "Setup");
}

TEST(compile_registry, a_collection_has_the_title_that_the_registry_gives_its_menu) {
    const auto compiled = compile(R"({"RegistryEntries": {
        "Attributes": [
            {"AttributeName": "A", "Type": "String", "DefaultValue": "", "MenuPath": "./S/Mem/Sub"},
            {"AttributeName": "B", "Type": "String", "DefaultValue": "", "MenuPath": "./S/Cpu"}],
        "Menus": [{"MenuPath": "./S/Mem", "DisplayName": "Memory"}, {"MenuPath": 5}, null, 7]}})");
    EXPECT_EQ(compiled.attributes.at(0).info.cfg, "Mem");
    EXPECT_EQ(compiled.attributes.at(0).info.cfgname, "Memory");
    EXPECT_EQ(compiled.attributes.at(1).info.cfgname, "Cpu");
}

TEST(compile_registry, each_menu_that_would_share_a_name_is_reported_once) {
    const auto compiled = compile_attributes(
        R"({"AttributeName": "A", "Type": "String", "DefaultValue": "", "MenuPath": "./Boot X"},
           {"AttributeName": "A", "Type": "String", "DefaultValue": "", "MenuPath": "./BootX"},
           {"AttributeName": "B", "Type": "String", "DefaultValue": "", "MenuPath": "./BootX"})");
    EXPECT_EQ(compiled.unfit, 0U);
    EXPECT_EQ(compiled.attributes.at(1).info.cfg, "BootX2");
    EXPECT_THAT(warnings(compiled),
                ElementsAre(HasSubstr("/1/MenuPath: the menu \"BootX\" becomes the collection "
                                      "BootX2")));
}

TEST(compile_registry, a_menu_path_of_the_wrong_kind_is_unfit) {
    EXPECT_THAT(unfit(compile_one("String", R"("MenuPath": 5)")),
                ElementsAre(HasSubstr("/MenuPath: is a number instead of a text")));
}

TEST(compile_registry, a_text_that_is_not_a_registry_is_reported_with_its_place) {
    const auto broken = [](const std::string& text) {
        const auto lines = messages(compile(text), finding::severity::broken);
        EXPECT_THAT(lines, SizeIs(1));
        return lines.empty() ? "" : lines[0];
    };
    EXPECT_THAT(broken("[]"), HasSubstr("is a list instead of an object"));
    EXPECT_THAT(broken("{}"), HasSubstr("has no member RegistryEntries"));
    EXPECT_THAT(broken(R"({"RegistryEntries": null})"), HasSubstr("/RegistryEntries: is null"));
    EXPECT_THAT(broken(R"({"RegistryEntries": {}})"), HasSubstr("has no member Attributes"));
    EXPECT_THAT(broken(R"({"RegistryEntries": {"Attributes": {}}})"),
                HasSubstr("/RegistryEntries/Attributes: is an object instead of a list"));
    EXPECT_THAT(broken(R"({"RegistryEntries": {"Attributes": [], "Attributes": []}})"),
                HasSubstr("twice"));
    EXPECT_THAT(compile(registry("")).attributes, IsEmpty());
}

TEST(settings_text, is_read_by_the_library_with_all_values) {
    const auto compiled = compile_attributes(
        R"({"AttributeName": "A", "Type": "String", "DefaultValue": "say \"hi\" \\ there\\"},
           {"AttributeName": "q\"uote\\", "Type": "String", "DefaultValue": "  tab\there "},
           {"AttributeName": "C", "Type": "String"})");
    const std::string text = dp_tools::settings_text(compiled.attributes);
    EXPECT_EQ(text.substr(0, text.find('\n')),
              R"(0 0 uefi set BIOS.A "say \"hi\" \\ there\\" "" )");
    std::vector<std::string> names;
    std::vector<std::string> values;
    dp::batch_file_settings_rdr reader(&names, &values);
    std::istringstream in(text);
    EXPECT_EQ(reader.read_file(in, nullptr), 3);
    EXPECT_THAT(names, ElementsAre("BIOS.A", "BIOS.q\"uote\\", "BIOS.C"));
    EXPECT_THAT(values, ElementsAre("say \"hi\" \\ there\\", "  tab\there ", ""));
}

/// Reads a template's text and the values with the library and compares them with what was
/// compiled.
void expect_round_trip(const compiled_registry& compiled) {
    const std::string path = test::root() + "/text";
    test::write_file(path, dp_tools::template_text(compiled.attributes));
    std::ifstream in(path, std::ios::binary);
    std::vector<template_info> entries;
    template_info::read_settings(in, entries, "");
    ASSERT_EQ(entries.size(), compiled.attributes.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const auto& info = compiled.attributes[i].info;
        EXPECT_EQ(entries[i].id, info.id);
        EXPECT_EQ(entries[i].cfg, info.cfg);
        EXPECT_EQ(entries[i].cfgname, info.cfgname);
        EXPECT_EQ(entries[i].grp, info.grp);
        EXPECT_EQ(entries[i].dsc, info.dsc);
        EXPECT_EQ(entries[i].fds, info.fds);
        EXPECT_EQ(entries[i].type, info.type);
        EXPECT_EQ(entries[i].flg, info.flg);
        EXPECT_EQ(entries[i].dft, info.dft);
        EXPECT_EQ(entries[i].min, info.min);
        EXPECT_EQ(entries[i].max, info.max);
        EXPECT_EQ(entries[i].stp, info.stp);
        EXPECT_EQ(entries[i].minc, info.minc);
        EXPECT_EQ(entries[i].maxc, info.maxc);
        EXPECT_EQ(entries[i].reg, info.reg);
        EXPECT_EQ(entries[i].num, info.num);
        EXPECT_EQ(entries[i].chc, info.chc);
        EXPECT_EQ(dp_service::choice_list::split(info.chc).size(), info.num);
    }
    std::vector<std::string> names;
    std::vector<std::string> values;
    dp::batch_file_settings_rdr reader(&names, &values);
    std::istringstream lines(dp_tools::settings_text(compiled.attributes));
    reader.read_file(lines, nullptr);
    ASSERT_EQ(names.size(), compiled.attributes.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(names[i], compiled.attributes[i].info.cfg + "." + compiled.attributes[i].info.id);
        EXPECT_EQ(values[i], compiled.attributes[i].value);
    }
}

TEST(compile_registry, compiles_the_sample_registries_without_warnings) {
    for (const char* name : {"server", "server-update"}) {
        const auto compiled = compile(test::read_file(
            std::string(DP_SOURCE_DIR) + "/examples/registry/" + name + ".registry.json"));
        EXPECT_THAT(warnings(compiled), IsEmpty());
        EXPECT_THAT(unfit(compiled), IsEmpty());
        EXPECT_EQ(compiled.passwords, 1U);
        EXPECT_GT(compiled.attributes.size(), 150U);
        expect_round_trip(compiled);
    }
}

constexpr const char* real_registry = "server-a.registry.json";

TEST(compile_registry, compiles_a_real_registry_without_loss) {
    if (const auto reason = test::missing_data(real_registry); !reason.empty()) {
        GTEST_SKIP() << reason;
    }
    const auto compiled = compile(test::read_file(test::data_file(real_registry)));
    EXPECT_EQ(compiled.attributes.size(), 360U);
    EXPECT_EQ(compiled.unfit, 0U);
    EXPECT_EQ(std::count_if(compiled.attributes.begin(), compiled.attributes.end(),
                            [](const auto& a) { return a.info.cfg == "Setup"; }),
              3);
    EXPECT_EQ(std::count_if(compiled.attributes.begin(), compiled.attributes.end(),
                            [](const auto& a) { return a.info.cfg == "PlatformConfiguration"; }),
              357);
    expect_round_trip(compiled);
}

TEST(compile_registry, agrees_with_an_independent_conversion_of_a_real_registry) {
    constexpr const char* converted = "efi/records.bin";
    for (const char* name : {converted, real_registry}) {
        if (const auto reason = test::missing_data(name); !reason.empty()) {
            GTEST_SKIP() << reason;
        }
    }
    std::ifstream in(test::data_file(converted), std::ios::binary);
    std::vector<template_info> entries;
    template_info::read_settings(in, entries, "");
    const auto compiled = compile(test::read_file(test::data_file(real_registry)), "Setup");
    ASSERT_EQ(entries.size(), compiled.attributes.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const auto& info = compiled.attributes[i].info;
        EXPECT_EQ(entries[i].id, info.id);
        EXPECT_EQ(entries[i].cfg, info.cfg);
        EXPECT_EQ(entries[i].grp, info.grp);
        EXPECT_EQ(entries[i].dsc, info.dsc);
        EXPECT_EQ(entries[i].dft, info.dft);
        EXPECT_EQ(entries[i].type, info.type);
        EXPECT_EQ(entries[i].min, info.min);
        EXPECT_EQ(entries[i].max, info.max);
        EXPECT_EQ(entries[i].stp, info.stp);
        EXPECT_EQ(entries[i].num, info.num);
        EXPECT_EQ(entries[i].chc, info.chc);
    }
}

TEST(compile_registry, compiles_ten_thousand_attributes) {
    std::string attributes;
    for (int i = 0; i < 10'000; ++i) {
        attributes += (i == 0 ? "" : ",") + std::string(R"({"AttributeName": "Attribute)") +
                      std::to_string(i) + R"(", "Type": "Enumeration", "MenuPath": "./M/)" +
                      std::to_string(i % 100) + "\", \"DefaultValue\": \"On\", " + on_off + "}";
    }
    const auto compiled = compile_attributes(attributes);
    EXPECT_THAT(compiled.attributes, SizeIs(10'000));
    EXPECT_THAT(compiled.findings, IsEmpty());
}

/// Damages a text in a few places.
std::string mangled(std::string text, std::mt19937& random) {
    const auto below = [&](std::size_t bound) {
        return random() % std::max<std::size_t>(bound, 1);
    };
    static const std::vector<std::string> pieces{
        "null", "-1", "1e999", "\"\"", "{}",   "[]", "\"\\u0000\"", "\"\\u00a7\"",
        "true", "\"", ",",     "[[[",  "}",    ":",  "\\",          "\x95",
        "\xA7", ".",  "\\n",   "  ",   "cfg:", "(",  "4294967296",  "\"DefaultValue\": 1,"};
    for (std::size_t damage = 1 + below(4); damage-- > 0;) {
        const std::size_t at = below(text.size());
        switch (below(5)) {
            case 0:
                text[at] = static_cast<char>(random());
                break;
            case 1:
                text.erase(at, below(40));
                break;
            case 2:
                text.insert(at, pieces[below(pieces.size())]);
                break;
            case 3: {
                // A value replaced: from a colon to the next comma.
                const auto colon = text.find(": ", at);
                const auto comma = text.find(',', colon == std::string::npos ? at : colon);
                if (colon != std::string::npos && comma != std::string::npos) {
                    text.replace(colon + 2, comma - colon - 2, pieces[below(pieces.size())]);
                }
                break;
            }
            default:
                text.insert(at, text.substr(below(text.size()), below(300)));
                break;
        }
        if (below(50) == 0) {
            text.resize(below(text.size()));
        }
    }
    return text;
}

TEST(compile_registry, never_makes_an_unreadable_template_of_a_damaged_registry) {
    const std::string sample =
        test::read_file(std::string(DP_SOURCE_DIR) + "/examples/registry/server.registry.json");
    // Only a part of it, so that most damage is in the attributes.
    const auto document_start = sample.find("\"RegistryEntries\"");
    const auto attribute_end = sample.find("\"AttributeName\": \"Iommu\"");
    const std::string text =
        "{" +
        sample.substr(document_start, sample.rfind('}', attribute_end + 1) - document_start + 1) +
        "]}}";
    ASSERT_EQ(dp_support::parse_json(text).error, "");
    std::mt19937 random(20'240'817);
    int compiled_count = 0;
    for (int round = 0; round < 1500; ++round) {
        const std::string damaged = mangled(text, random);
        const auto document = dp_support::parse_json(damaged);
        if (!document.error.empty()) {
            EXPECT_LE(document.error_offset, damaged.size());
            continue;
        }
        const auto compiled = dp_tools::compile_registry(document.root, std::nullopt);
        for (const auto& found : compiled.findings) {
            EXPECT_LT(found.offset, damaged.size());
        }
        ++compiled_count;
        expect_round_trip(compiled);
        ASSERT_FALSE(HasFailure()) << damaged;
    }
    EXPECT_GT(compiled_count, 100);
}

}  // namespace
