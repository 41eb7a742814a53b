#include "support/utf8.hpp"

#include <gtest/gtest.h>

#include <string>

namespace {

using dp_support::utf8::count_characters;
using dp_support::utf8::first_character;

TEST(first_character, has_its_code_and_length) {
    struct {
        std::string text;
        char32_t code;
        std::size_t length;
    } const cases[] = {
        {"a", 'a', 1},
        {std::string(1, '\0'), 0, 1},
        {"\x7F", 0x7F, 1},
        {"\xC2\x80", 0x80, 2},
        {"\xDF\xBF", 0x7FF, 2},
        {"\xE0\xA0\x80", 0x800, 3},
        {"\xED\x9F\xBF", 0xD7FF, 3},
        {"\xEE\x80\x80", 0xE000, 3},
        {"\xEF\xBF\xBF", 0xFFFF, 3},
        {"\xF0\x90\x80\x80", 0x10000, 4},
        {"\xF4\x8F\xBF\xBF", 0x10FFFF, 4},
    };
    for (const auto& [text, code, length] : cases) {
        const auto alone = first_character(text);
        EXPECT_EQ(alone.code, code);
        EXPECT_EQ(alone.length, length);
        const std::string followed = text + "\xFF";
        EXPECT_EQ(first_character(followed).code, code);
        EXPECT_EQ(first_character(followed).length, length);
    }
}

TEST(first_character, is_none_where_the_bytes_are_not_utf8) {
    for (const std::string text :
         {"", "\x80", "\xBF", "\xC0\x80", "\xC1\xBF", "\xC2", "\xC2x", "\xE0\x9F\xBF", "\xE2\x82",
          "\xE2\x82x", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF", "\xF0\x90\x80", "\xF4\x90\x80\x80",
          "\xF5\x80\x80\x80", "\xFF"}) {
        EXPECT_EQ(first_character(text).length, 0U) << testing::PrintToString(text);
    }
}

TEST(count_characters, counts_characters_and_not_bytes) {
    EXPECT_EQ(count_characters(""), 0U);
    EXPECT_EQ(count_characters("a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"), 4U);
}

TEST(count_characters, has_no_answer_for_bytes_that_are_not_utf8) {
    EXPECT_FALSE(count_characters("a\xFF").has_value());
    EXPECT_FALSE(count_characters("a\xE2\x82").has_value());
}

}  // namespace
