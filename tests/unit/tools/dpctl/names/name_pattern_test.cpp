#include "tools/dpctl/names/name_pattern.hpp"

#include <gtest/gtest.h>

#include <string>

namespace dpctl {
namespace {

TEST(is_pattern, finds_the_characters_of_patterns) {
    EXPECT_TRUE(is_pattern("Boot.*"));
    EXPECT_TRUE(is_pattern("Boot.Order.?"));
    EXPECT_FALSE(is_pattern("Boot.Order[1]"));
    EXPECT_FALSE(is_pattern(""));
}

TEST(matches_pattern, compares_all_of_the_text) {
    EXPECT_TRUE(matches_pattern("Boot.Mode", "Boot.Mode"));
    EXPECT_FALSE(matches_pattern("Boot.Mode", "Boot.Mod"));
    EXPECT_FALSE(matches_pattern("Boot.Mod", "Boot.Mode"));
    EXPECT_FALSE(matches_pattern("Boot.Mode", "boot.mode"));
    EXPECT_TRUE(matches_pattern("", ""));
}

TEST(matches_pattern, accepts_any_text_for_an_asterisk) {
    EXPECT_TRUE(matches_pattern("", "*"));
    EXPECT_TRUE(matches_pattern("Boot.Order.1", "Boot.*"));
    EXPECT_TRUE(matches_pattern("Boot.Order.1", "*Order*"));
    EXPECT_TRUE(matches_pattern("Boot.Order.1", "B*t.O*r.1"));
    EXPECT_TRUE(matches_pattern("aab", "*ab"));
    EXPECT_TRUE(matches_pattern("Boot", "Boot**"));
    EXPECT_FALSE(matches_pattern("Memory.Mode", "Boot.*"));
    EXPECT_FALSE(matches_pattern("Boot.Order.1", "*.2"));
}

TEST(matches_pattern, accepts_one_character_for_a_question_mark) {
    EXPECT_TRUE(matches_pattern("Boot.Order.1", "Boot.Order.?"));
    EXPECT_FALSE(matches_pattern("Boot.Order.10", "Boot.Order.?"));
    EXPECT_FALSE(matches_pattern("Boot.Order.", "Boot.Order.?"));
    EXPECT_TRUE(matches_pattern("Größe", "Gr??e"));
    EXPECT_TRUE(matches_pattern("a\xff", "a?"));
}

TEST(matches_pattern, takes_quadratic_time_at_most) {
    const std::string text(20'000, 'a');
    std::string pattern;
    for (int i = 0; i < 1000; ++i) {
        pattern += "*a";
    }
    EXPECT_FALSE(matches_pattern(text, pattern + "b"));
    EXPECT_TRUE(matches_pattern(text, pattern));
}

}  // namespace
}  // namespace dpctl
