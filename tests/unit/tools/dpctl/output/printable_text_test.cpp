#include "tools/dpctl/output/printable_text.hpp"

#include <gtest/gtest.h>

namespace dpctl {
namespace {

TEST(printable, does_not_change_text_of_any_language) {
    for (const char* const text : {"", "Boot Mode", "Größe", "起動順序", "é", "\\", "🙂"}) {
        EXPECT_EQ(printable(text), text);
    }
}

TEST(printable, writes_out_control_characters) {
    EXPECT_EQ(printable("a\tb\nc\rd\x7f"), "a\\x09b\\x0ac\\x0dd\\x7f");
    EXPECT_EQ(printable("\x1b[2J\x1b]0;title\x07"), "\\x1b[2J\\x1b]0;title\\x07");
    EXPECT_EQ(printable(std::string_view("\0", 1)), "\\x00");
}

TEST(printable, writes_out_the_second_set_of_control_characters) {
    // U+009B begins a terminal command in one character.
    EXPECT_EQ(printable("\xc2\x9b"
                        "2J"),
              "\\u{009b}2J");
    EXPECT_EQ(printable("\x9b"
                        "2J"),
              "\\x9b2J");
}

TEST(printable, writes_out_characters_that_turn_or_hide_text) {
    EXPECT_EQ(printable("\u202e"), "\\u{202e}");
    EXPECT_EQ(printable("\u2066"), "\\u{2066}");
    EXPECT_EQ(printable("\u200b"), "\\u{200b}");
    EXPECT_EQ(printable("\ufeff"), "\\u{feff}");
    EXPECT_EQ(printable("\u2028"), "\\u{2028}");
    EXPECT_EQ(printable("\U000e0041"), "\\u{e0041}");
}

TEST(printable, writes_out_bytes_that_are_not_utf8) {
    EXPECT_EQ(printable("\xff\xfe"), "\\xff\\xfe");
    EXPECT_EQ(printable("a\x80z"), "a\\x80z");
    EXPECT_EQ(printable("\xc0\xaf"), "\\xc0\\xaf");                    // overlong
    EXPECT_EQ(printable("\xe0\x80\xaf"), "\\xe0\\x80\\xaf");           // overlong
    EXPECT_EQ(printable("\xed\xa0\x80"), "\\xed\\xa0\\x80");           // surrogate
    EXPECT_EQ(printable("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80");  // above U+10FFFF
    EXPECT_EQ(printable("\xe2\x82"), "\\xe2\\x82");                    // incomplete
    EXPECT_EQ(printable("\xe2x\xac"), "\\xe2x\\xac");
}

TEST(printable, does_not_change_its_own_result) {
    const std::string once = printable("\x1b\xff\u202e ok");
    EXPECT_EQ(printable(once), once);
}

TEST(in_quotes, quotes_printable_text) {
    EXPECT_EQ(in_quotes(""), "\"\"");
    EXPECT_EQ(in_quotes(" \x1b "), "\" \\x1b \"");
}

TEST(display_width, counts_terminal_columns) {
    EXPECT_EQ(display_width(""), 0U);
    EXPECT_EQ(display_width("Boot"), 4U);
    EXPECT_EQ(display_width("Größe"), 5U);
    EXPECT_EQ(display_width("起動"), 4U);
    EXPECT_EQ(display_width("e\u0301"), 1U);
    EXPECT_EQ(display_width("…"), 1U);
    EXPECT_EQ(display_width("🙂"), 2U);
}

TEST(padded, adds_spaces_up_to_the_width) {
    EXPECT_EQ(padded("Größe", 7), "Größe  ");
    EXPECT_EQ(padded("Boot", 4), "Boot");
    EXPECT_EQ(padded("Boot", 2), "Boot");
}

TEST(shortened, ends_with_an_ellipsis_in_the_width) {
    EXPECT_EQ(shortened("Boot", 4), "Boot");
    EXPECT_EQ(shortened("Boot", 3), "Bo…");
    EXPECT_EQ(shortened("Größe", 4), "Grö…");
    EXPECT_EQ(shortened("起動順", 4), "起…");
    EXPECT_EQ(shortened("起動順", 2), "…");
    EXPECT_EQ(shortened("Boot", 1), "…");
    EXPECT_EQ(shortened("Boot", 0), "");
    EXPECT_EQ(shortened("", 0), "");
}

TEST(without_partial_character, removes_only_an_incomplete_character) {
    EXPECT_EQ(without_partial_character("abc"), "abc");
    EXPECT_EQ(without_partial_character("ab€"), "ab€");
    EXPECT_EQ(without_partial_character("ab\xe2\x82"), "ab");
    EXPECT_EQ(without_partial_character("ab\xe2"), "ab");
    EXPECT_EQ(without_partial_character("ab\xf0\x9f\x99"), "ab");
    EXPECT_EQ(without_partial_character("\xf0"), "");
    EXPECT_EQ(without_partial_character(""), "");
}

TEST(without_partial_character, keeps_other_invalid_bytes) {
    EXPECT_EQ(without_partial_character("ab\x80\x80\x80\x80"), "ab\x80\x80\x80\x80");
    EXPECT_EQ(without_partial_character("ab\xff"), "ab\xff");
}

}  // namespace
}  // namespace dpctl
