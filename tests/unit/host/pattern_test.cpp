#include "pattern.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "tests/support/test_platform.hpp"

namespace {

using dp_host::pattern;

TEST(pattern, matches_anywhere_unless_anchored) {
    EXPECT_TRUE(pattern("b").matches("abc"));
    EXPECT_FALSE(pattern("^b").matches("abc"));
    EXPECT_FALSE(pattern("^abc$").matches("abcd"));
}

TEST(pattern, the_end_is_the_end_of_the_value) {
    EXPECT_FALSE(pattern("^abc$").matches("abc\n"));
}

TEST(pattern, characters_are_those_of_utf_8) {
    EXPECT_TRUE(pattern("^.$").matches("\xE2\x82\xAC"));
    EXPECT_TRUE(pattern("^\\u20ac$").matches("\xE2\x82\xAC"));
}

TEST(pattern, bytes_that_are_not_utf_8_match_nothing) {
    EXPECT_FALSE(
        pattern("^.*$").matches("a\xFF"
                                "b"));
    EXPECT_TRUE(pattern("a").matches("a\xFF"));
}

TEST(pattern, a_value_may_hold_any_byte) {
    EXPECT_TRUE(pattern("^a.b$").matches(std::string("a\0b", 3)));
}

TEST(pattern, a_bad_expression_says_why_and_matches_nothing) {
    const pattern bad("a(b");
    EXPECT_NE(bad.problem().find("at byte 3"), std::string::npos) << bad.problem();
    EXPECT_FALSE(bad.matches("ab"));
    EXPECT_TRUE(pattern("").problem().empty());
}

TEST(pattern, a_match_that_takes_too_long_is_none) {
    test::recording_log log(0x10000000);
    const pattern slow("^(a+)+$");
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(slow.matches(std::string(60, 'a') + "b"));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
    EXPECT_EQ(log.lines.size(), 1U);
    EXPECT_TRUE(slow.matches("aaa"));
}

}  // namespace
