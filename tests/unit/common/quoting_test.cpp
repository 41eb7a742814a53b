#include "common/quoting.hpp"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "batch/quoted_value.hpp"

using dp::add_backslash;
using dp::add_quotes;
using dp::strip_quotes;

TEST(strip_quotes, does_not_change_a_text_without_quotes_at_its_ends) {
    EXPECT_EQ(strip_quotes(""), "");
    EXPECT_EQ(strip_quotes("a"), "a");
    EXPECT_EQ(strip_quotes(R"(a"b)"), R"(a"b)");
    EXPECT_EQ(strip_quotes(R"( "a" )"), R"( "a" )");
}

TEST(strip_quotes, removes_one_quote_at_each_end) {
    EXPECT_EQ(strip_quotes(R"("abc")"), "abc");
    EXPECT_EQ(strip_quotes(R"(""x"")"), R"("x")");
    EXPECT_EQ(strip_quotes(R"("a"b")"), R"(a"b)");
}

TEST(strip_quotes, examines_each_end_on_its_own) {
    EXPECT_EQ(strip_quotes(R"(abc")"), "abc");
    EXPECT_EQ(strip_quotes(R"("abc)"), "abc");
}

TEST(strip_quotes, returns_an_empty_text_for_one_or_two_quotes) {
    EXPECT_EQ(strip_quotes(R"(")"), "");
    EXPECT_EQ(strip_quotes(R"("")"), "");
    EXPECT_EQ(strip_quotes(R"(""")"), R"(")");
}

TEST(strip_quotes, ignores_escapes) {
    EXPECT_EQ(strip_quotes(R"("a\")"), R"(a\)");
}

TEST(add_quotes, puts_one_quote_at_each_end_and_escapes_nothing) {
    EXPECT_EQ(add_quotes(""), R"("")");
    EXPECT_EQ(add_quotes("a b"), R"("a b")");
    EXPECT_EQ(add_quotes(R"(a"b\)"), R"("a"b\")");
}

TEST(add_quotes, is_undone_by_strip_quotes) {
    for (const std::string text : {"", "x", "\"", "\"\"", "a\"", "\"a", "\\"}) {
        EXPECT_EQ(strip_quotes(add_quotes(text)), text);
    }
}

TEST(add_backslash, escapes_backslashes_and_double_quotes) {
    EXPECT_EQ(add_backslash(""), "");
    EXPECT_EQ(add_backslash(R"(a\b"c)"), R"(a\\b\"c)");
    EXPECT_EQ(add_backslash(R"(\")"), R"(\\\")");
}

TEST(add_backslash, keeps_every_other_byte) {
    std::string other;
    for (int c = 0; c < 256; ++c) {
        if (c != '"' && c != '\\') {
            other += static_cast<char>(c);
        }
    }
    EXPECT_EQ(add_backslash(other), other);
}

TEST(add_backslash, is_undone_by_parse_quoted_escaped_str) {
    std::string every_byte;
    for (int c = 0; c < 256; ++c) {
        every_byte += static_cast<char>(c);
    }
    for (const std::string& text : {every_byte, std::string(R"(\\""\")"), std::string()}) {
        std::stringstream in(add_quotes(add_backslash(text)));
        EXPECT_EQ(dp::parse_quoted_escaped_str(in), text);
    }
}
