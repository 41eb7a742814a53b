#include "tools/dpctl/output/attribute_text.hpp"

#include <gtest/gtest.h>

#include "tests/unit/tools/dpctl/sample_attribute.hpp"

namespace dpctl {
namespace {

TEST(type_name, follows_the_type_codes) {
    EXPECT_STREQ(type_name(test::sample_attribute("A", test::numeric)), "integer");
    EXPECT_STREQ(type_name(test::sample_attribute("A", test::string)), "string");
    EXPECT_STREQ(type_name(test::sample_attribute("A", test::no_range)), "free");
    for (const int other : {0, 1, 2, 6, -1}) {
        EXPECT_STREQ(type_name(test::sample_attribute("A", other)), "enumeration");
    }
}

TEST(allowed_values, of_an_enumeration_are_its_choices) {
    EXPECT_EQ(allowed_values(test::sample_choices("A", "Legacy,UEFI")), "Legacy, UEFI");
    EXPECT_EQ(allowed_values(test::sample_choices("A", "a\\,b,c")), "a,b, c");
    EXPECT_EQ(allowed_values(test::sample_choices("A", "")), "");
}

TEST(allowed_values, names_only_the_first_of_many_choices) {
    std::string choices = "c0";
    for (int i = 1; i < 25; ++i) {
        choices += ",c" + std::to_string(i);
    }
    const std::string text = allowed_values(test::sample_choices("A", choices.c_str()));
    EXPECT_TRUE(text.ends_with(", c19 and 5 more")) << text;
}

TEST(allowed_values, of_a_number_are_range_and_step) {
    EXPECT_EQ(allowed_values(test::sample_number("A", 0, 100, 5)), "0 to 100 in steps of 5");
    EXPECT_EQ(allowed_values(test::sample_number("A", 1, 4294967295U, 1)), "1 to 4294967295");
    EXPECT_EQ(allowed_values(test::sample_number("A", 1, 2, 0)), "1 to 2");
    EXPECT_EQ(allowed_values(test::sample_number("A", 0, 0, 0)), "0 to 4294967295");
}

TEST(allowed_values, of_a_string_are_length_and_pattern) {
    EXPECT_EQ(allowed_values(test::sample_string("A", 4, 16, "")), "4 to 16 characters");
    EXPECT_EQ(allowed_values(test::sample_string("A", 4, 4, "")), "exactly 4 characters");
    EXPECT_EQ(allowed_values(test::sample_string("A", 4, 0, "")), "at least 4 characters");
    EXPECT_EQ(allowed_values(test::sample_string("A", 0, 9, "^[A-Z]+$")),
              "0 to 9 characters that match ^[A-Z]+$");
    EXPECT_EQ(allowed_values(test::sample_string("A", 0, 0, "x")), "texts that match x");
    EXPECT_EQ(allowed_values(test::sample_string("A", 0, 0, "")), "");
    EXPECT_EQ(string_length(test::sample_string("A", 0, 0, "")), "any length");
}

TEST(allowed_values, of_an_attribute_without_range_are_any) {
    EXPECT_EQ(allowed_values(test::sample_attribute("A", test::no_range)), "");
}

TEST(is_read_only, is_the_templates_lowest_flag) {
    dp_attribute attribute = test::sample_attribute("A", test::numeric);
    EXPECT_FALSE(is_read_only(attribute));
    attribute.flg = 0x100000;
    EXPECT_FALSE(is_read_only(attribute));
    attribute.flg = 0x100001;
    EXPECT_TRUE(is_read_only(attribute));
}

TEST(is_removed_by_default, compares_exactly) {
    dp_attribute attribute = test::sample_attribute("A", test::numeric);
    EXPECT_FALSE(is_removed_by_default(attribute));
    attribute.dfa = "Remove";
    EXPECT_FALSE(is_removed_by_default(attribute));
    attribute.dfa = "remove";
    EXPECT_TRUE(is_removed_by_default(attribute));
}

}  // namespace
}  // namespace dpctl
