#include "service_api/attribute_description.hpp"

#include <gtest/gtest.h>

#include "tests/support/sample_attribute.hpp"

namespace dp_service {
namespace {

TEST(type_name, depends_on_the_type_code) {
    EXPECT_STREQ(type_name(test::sample_attribute("A", DP_TYPE_NUMERIC)), "integer");
    EXPECT_STREQ(type_name(test::sample_attribute("A", DP_TYPE_STRING)), "string");
    EXPECT_STREQ(type_name(test::sample_attribute("A", DP_TYPE_NO_RANGE)), "free");
    for (const int other : {0, 1, 2, 6, -1}) {
        EXPECT_STREQ(type_name(test::sample_attribute("A", other)), "enumeration");
    }
}

TEST(allowed_values, lists_the_choices_of_an_enumeration) {
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

TEST(allowed_values, shows_the_range_and_step_of_a_number) {
    EXPECT_EQ(allowed_values(test::sample_number("A", 0, 100, 5)), "0 to 100 in steps of 5");
    EXPECT_EQ(allowed_values(test::sample_number("A", 1, 4294967295U, 1)), "1 to 4294967295");
    EXPECT_EQ(allowed_values(test::sample_number("A", 1, 2, 0)), "1 to 2");
    EXPECT_EQ(allowed_values(test::sample_number("A", 0, 0, 0)), "0 to 4294967295");
}

TEST(allowed_values, shows_the_length_and_pattern_of_a_string) {
    EXPECT_EQ(allowed_values(test::sample_string("A", 4, 16, "")), "4 to 16 characters");
    EXPECT_EQ(allowed_values(test::sample_string("A", 4, 4, "")), "exactly 4 characters");
    EXPECT_EQ(allowed_values(test::sample_string("A", 4, 0, "")), "at least 4 characters");
    EXPECT_EQ(allowed_values(test::sample_string("A", 0, 9, "^[A-Z]+$")),
              "0 to 9 characters that match ^[A-Z]+$");
    EXPECT_EQ(allowed_values(test::sample_string("A", 0, 0, "x")), "texts that match x");
    EXPECT_EQ(allowed_values(test::sample_string("A", 0, 0, "")), "");
}

TEST(length_text, names_both_lengths_or_the_only_one) {
    EXPECT_EQ(length_text({0, 0, ""}), "any length");
    EXPECT_EQ(length_text({4, 0, ""}), "at least 4 characters");
    EXPECT_EQ(length_text({4, 16, ""}), "4 to 16 characters");
    EXPECT_EQ(length_text({16, 4, ""}), "no text");
}

TEST(range_text, names_both_bounds) {
    EXPECT_EQ(range_text({-1, 100, 1}), "-1 to 100");
    EXPECT_EQ(range_text({5, 4, 1}), "no number");
}

TEST(allowed_values, is_empty_without_range_data) {
    EXPECT_EQ(allowed_values(test::sample_attribute("A", DP_TYPE_NO_RANGE)), "");
}

TEST(is_read_only, checks_the_lowest_flag) {
    dp_attribute attribute = test::sample_attribute("A", DP_TYPE_NUMERIC);
    EXPECT_FALSE(is_read_only(attribute));
    attribute.flg = 0x100000;
    EXPECT_FALSE(is_read_only(attribute));
    attribute.flg = 0x100001;
    EXPECT_TRUE(is_read_only(attribute));
}

TEST(is_removed_by_default, distinguishes_upper_and_lower_case) {
    dp_attribute attribute = test::sample_attribute("A", DP_TYPE_NUMERIC);
    EXPECT_FALSE(is_removed_by_default(attribute));
    attribute.dfa = "Remove";
    EXPECT_FALSE(is_removed_by_default(attribute));
    attribute.dfa = "remove";
    EXPECT_TRUE(is_removed_by_default(attribute));
}

}  // namespace
}  // namespace dp_service
