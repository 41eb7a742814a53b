#include "host/model/carry_over.hpp"

#include <gmock/gmock.h>

#include <sstream>

#include "host/model/values_file.hpp"
#include "service_api/template_flags.hpp"
#include "tests/support/sample_template.hpp"

namespace {

using dp_host::template_model;
using dp_host::value_store;
using testing::ElementsAre;

class carry_over_test : public testing::Test {
  protected:
    void SetUp() override {
        for (const auto& [name, value] :
             {std::pair("A.Mode", "y"), std::pair("A.Size", "50"), std::pair("A.Gone", "g"),
              std::pair("A.Port.1", "8"), std::pair("A.Port.2", "9")}) {
            dp::qualified_setting_name parsed;
            parsed.parse(name);
            ASSERT_EQ(old_values.load(parsed, value, false), value_store::load_result::loaded);
        }
    }

    dp_host::carry_over_report carry_over(const std::vector<template_info>& infos) {
        now = *template_model::make(infos, nullptr);
        value_store store(*now);
        const auto report = dp_host::carry_over(*before, old_values, *now, store);
        std::ostringstream out;
        dp_host::write_set_lines(store, out);
        text = out.str();
        return report;
    }

    std::unique_ptr<template_model> before = *template_model::make(
        {test::choice("A", "Mode", "x", "x,y,z"), test::number("A", "Size", "1", 0, 100, 1),
         test::text("A", "Gone", "old", 0, 0, ""),
         test::with_instances(test::number("A", "Port", "5", 0, 10, 1), 1, 2)},
        nullptr);
    value_store old_values{*before};
    std::unique_ptr<template_model> now;
    std::string text;
};

TEST_F(carry_over_test, keeps_values_of_the_same_name) {
    const auto report = carry_over(
        {test::choice("A", "Mode", "z", "y,z"), test::number("A", "Size", "2", 0, 100, 1),
         test::text("A", "Gone", "", 0, 0, ""),
         test::with_instances(test::number("A", "Port", "6", 0, 10, 1), 1, 3)});
    EXPECT_EQ(report.kept, 5U);
    EXPECT_THAT(report.lines(), ElementsAre("kept 5 values, converted 0, lost 0"));
    EXPECT_EQ(text,
              "0 0 uefi set A.Mode \"y\" \"\" \n0 0 uefi set A.Size \"50\" \"\" \n"
              "0 0 uefi set A.Gone \"g\" \"\" \n0 0 uefi set A.Port.1 \"8\" \"\" \n"
              "0 0 uefi set A.Port.2 \"9\" \"\" \n");
}

TEST_F(carry_over_test, follows_attributes_to_other_collections) {
    const auto report = carry_over(
        {test::choice("Setup", "Mode", "z", "y,z"), test::number("Setup", "Size", "2", 0, 10, 1),
         test::with_instances(test::number("Ports", "Port", "6", 0, 10, 1), 2, 3)});
    EXPECT_EQ(report.kept, 0U);
    EXPECT_THAT(
        report.lines(),
        ElementsAre("kept 0 values, converted 2, lost 3", "converted A.Mode \"y\" to Setup.Mode",
                    "converted A.Port.2 \"9\" to Ports.Port.2",
                    "lost A.Size \"50\": not valid any more; Setup.Size is \"2\"",
                    "lost A.Gone \"g\": there is no such attribute any more",
                    "lost A.Port.1 \"8\": there is no such instance any more"));
    EXPECT_EQ(text,
              "0 0 uefi set Setup.Mode \"y\" \"\" \n0 0 uefi set Setup.Size \"2\" \"\" \n"
              "0 0 uefi set Ports.Port.2 \"9\" \"\" \n");
}

TEST_F(carry_over_test, converts_nothing_when_a_name_is_not_unique) {
    const auto report =
        carry_over({test::choice("B", "Mode", "z", "y,z"), test::choice("C", "Mode", "z", "y,z")});
    EXPECT_TRUE(report.converted.empty());
    EXPECT_EQ(report.lost.size(), 5U);
}

TEST_F(carry_over_test, an_attribute_whose_instances_were_all_removed_gets_none_when_it_moves) {
    before = *template_model::make(
        {test::with_instances(test::number("A", "Port", "5", 0, 10, 1), 1, 2)}, nullptr);
    now = *template_model::make(
        {test::with_instances(test::number("B", "Port", "5", 0, 10, 1), 1, 2)}, nullptr);
    const value_store none(*before);
    value_store store(*now);
    dp_host::carry_over(*before, none, *now, store);
    std::ostringstream out;
    EXPECT_EQ(dp_host::write_set_lines(store, out), 0U);
}

TEST_F(carry_over_test, values_that_the_template_determines_are_not_reported) {
    const auto report = carry_over({test::with_flags(test::choice("B", "Mode", "z", "y,z"),
                                                     dp_service::template_flags::read_only)});
    EXPECT_EQ(report.lost.size(), 4U);
    EXPECT_EQ(text, "0 0 uefi set B.Mode \"z\" \"\" \n");
}

}  // namespace
