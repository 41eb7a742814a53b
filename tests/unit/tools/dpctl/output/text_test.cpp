#include "tools/dpctl/output/text.hpp"

#include <gtest/gtest.h>

namespace dpctl {
namespace {

TEST(printable, leaves_text_of_any_language_as_it_is) {
    for (const char* const text : {"", "Boot Mode", "Größe", "起動順序", "é", "\\", "🙂"}) {
        EXPECT_EQ(printable(text), text);
    }
}

TEST(printable, writes_control_characters_out) {
    EXPECT_EQ(printable("a\tb\nc\rd\x7f"), "a\\x09b\\x0ac\\x0dd\\x7f");
    EXPECT_EQ(printable("\x1b[2J\x1b]0;title\x07"), "\\x1b[2J\\x1b]0;title\\x07");
    EXPECT_EQ(printable(std::string_view("\0", 1)), "\\x00");
}

TEST(printable, writes_the_second_set_of_control_characters_out) {
    // U+009B begins a terminal command in one character.
    EXPECT_EQ(printable("\xc2\x9b"
                        "2J"),
              "\\u{009b}2J");
    EXPECT_EQ(printable("\x9b"
                        "2J"),
              "\\x9b2J");
}

TEST(printable, writes_out_what_turns_or_hides_text) {
    EXPECT_EQ(printable("\u202e"), "\\u{202e}");
    EXPECT_EQ(printable("\u2066"), "\\u{2066}");
    EXPECT_EQ(printable("\u200b"), "\\u{200b}");
    EXPECT_EQ(printable("\ufeff"), "\\u{feff}");
    EXPECT_EQ(printable("\u2028"), "\\u{2028}");
    EXPECT_EQ(printable("\U000e0041"), "\\u{e0041}");
}

TEST(printable, writes_bytes_that_are_not_utf8_out) {
    EXPECT_EQ(printable("\xff\xfe"), "\\xff\\xfe");
    EXPECT_EQ(printable("a\x80z"), "a\\x80z");
    EXPECT_EQ(printable("\xc0\xaf"), "\\xc0\\xaf");                    // overlong
    EXPECT_EQ(printable("\xe0\x80\xaf"), "\\xe0\\x80\\xaf");           // overlong
    EXPECT_EQ(printable("\xed\xa0\x80"), "\\xed\\xa0\\x80");           // surrogate
    EXPECT_EQ(printable("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80");  // beyond the last
    EXPECT_EQ(printable("\xe2\x82"), "\\xe2\\x82");                    // cut off
    EXPECT_EQ(printable("\xe2x\xac"), "\\xe2x\\xac");
}

TEST(printable, does_not_change_its_own_result) {
    const std::string once = printable("\x1b\xff\u202e ok");
    EXPECT_EQ(printable(once), once);
}

TEST(in_quotes, shows_where_a_text_begins_and_ends) {
    EXPECT_EQ(in_quotes(""), "\"\"");
    EXPECT_EQ(in_quotes(" \x1b "), "\" \\x1b \"");
}

TEST(display_width, counts_columns) {
    EXPECT_EQ(display_width(""), 0U);
    EXPECT_EQ(display_width("Boot"), 4U);
    EXPECT_EQ(display_width("Größe"), 5U);
    EXPECT_EQ(display_width("起動"), 4U);
    EXPECT_EQ(display_width("e\u0301"), 1U);
    EXPECT_EQ(display_width("…"), 1U);
    EXPECT_EQ(display_width("🙂"), 2U);
}

TEST(without_partial_character, cuts_only_what_is_incomplete) {
    EXPECT_EQ(without_partial_character("abc"), "abc");
    EXPECT_EQ(without_partial_character("ab€"), "ab€");
    EXPECT_EQ(without_partial_character("ab\xe2\x82"), "ab");
    EXPECT_EQ(without_partial_character("ab\xe2"), "ab");
    EXPECT_EQ(without_partial_character("ab\xf0\x9f\x99"), "ab");
    EXPECT_EQ(without_partial_character("\xf0"), "");
    EXPECT_EQ(without_partial_character(""), "");
}

TEST(without_partial_character, leaves_stray_bytes_alone) {
    EXPECT_EQ(without_partial_character("ab\x80\x80\x80\x80"), "ab\x80\x80\x80\x80");
    EXPECT_EQ(without_partial_character("ab\xff"), "ab\xff");
}

TEST(equal_ignoring_case, compares_ascii_letters) {
    EXPECT_TRUE(equal_ignoring_case("Uefi", "UEFI"));
    EXPECT_TRUE(equal_ignoring_case("", ""));
    EXPECT_FALSE(equal_ignoring_case("UEFI", "UEFI "));
    EXPECT_FALSE(equal_ignoring_case("Ä", "ä"));
    EXPECT_FALSE(equal_ignoring_case("@", "`"));
}

}  // namespace
}  // namespace dpctl
