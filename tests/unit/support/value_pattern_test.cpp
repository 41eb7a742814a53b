#include "support/value_pattern.hpp"

#include <gtest/gtest.h>

#include <string>

namespace {

using dp_support::value_pattern;

bool matches(const std::string& expression, const std::string& value) {
    return value_pattern(expression).judge(value) == value_pattern::verdict::matches;
}

bool differs(const std::string& expression, const std::string& value) {
    return value_pattern(expression).judge(value) == value_pattern::verdict::differs;
}

TEST(value_pattern_test, matches_anywhere_unless_anchored) {
    EXPECT_TRUE(matches("b", "abc"));
    EXPECT_TRUE(differs("^b", "abc"));
    EXPECT_TRUE(differs("^abc$", "abcd"));
}

TEST(value_pattern_test, a_dollar_matches_only_at_the_end_of_the_value) {
    EXPECT_TRUE(differs("^abc$", "abc\n"));
}

TEST(value_pattern_test, characters_are_utf_8) {
    EXPECT_TRUE(matches("^.$", "\xE2\x82\xAC"));
    EXPECT_TRUE(matches("^\\u20ac$", "\xE2\x82\xAC"));
}

TEST(value_pattern_test, bytes_that_are_not_utf_8_match_nothing) {
    EXPECT_TRUE(differs("^.*$",
                        "a\xFF"
                        "b"));
    EXPECT_TRUE(matches("a", "a\xFF"));
}

TEST(value_pattern_test, a_value_may_contain_any_byte) {
    EXPECT_TRUE(matches("^a.b$", std::string("a\0b", 3)));
}

TEST(value_pattern_test, an_invalid_expression_says_why_and_matches_nothing) {
    const value_pattern bad("a(b");
    EXPECT_NE(bad.problem().find("at byte 3"), std::string::npos) << bad.problem();
    EXPECT_EQ(bad.judge("ab"), value_pattern::verdict::differs);
    EXPECT_TRUE(value_pattern("").problem().empty());
}

TEST(value_pattern_test, a_match_that_needs_too_much_work_is_undecided) {
    const value_pattern slow("^(a+)+$");
    // Without a limit this takes years.
    EXPECT_EQ(slow.judge(std::string(60, 'a') + "b"), value_pattern::verdict::undecided);
    EXPECT_EQ(slow.judge("aaa"), value_pattern::verdict::matches);
}

}  // namespace
