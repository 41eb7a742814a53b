#include "batch/quoted_value.hpp"

#include <gtest/gtest.h>

#include <iterator>
#include <sstream>
#include <string>

namespace {

using namespace std::string_literals;

std::string quoted(const std::string& text) {
    std::stringstream in(text);
    return dp::parse_quoted_escaped_str(in);
}

}  // namespace

TEST(parse_quoted_escaped_str, reads_the_text_between_the_quotes) {
    EXPECT_EQ(quoted(R"("abc")"), "abc");
    EXPECT_EQ(quoted(R"("a b	c")"), "a b\tc");
    EXPECT_EQ(quoted(R"("")"), "");
    EXPECT_EQ(quoted("\"a\0\n\xFF\""s), "a\0\n\xFF"s);
}

TEST(parse_quoted_escaped_str, skips_the_text_before_the_opening_quote) {
    EXPECT_EQ(quoted(R"(  "a\"b" )"), R"(a"b)");
    EXPECT_EQ(quoted(R"(stray "abc")"), "abc");
    EXPECT_EQ(quoted("\n\t\"abc\""), "abc");
}

TEST(parse_quoted_escaped_str, keeps_the_character_after_a_backslash) {
    EXPECT_EQ(quoted(R"("\"\\\n\x")"), R"("\nx)");
    EXPECT_EQ(quoted(R"("a\\")"), R"(a\)");
    EXPECT_EQ(quoted(R"("\\\"")"), R"(\")");
}

TEST(parse_quoted_escaped_str, skips_an_escaped_character_before_the_opening_quote) {
    EXPECT_EQ(quoted(R"(\"abc")"), "") << "the second quote opens a value that never ends";
    EXPECT_EQ(quoted(R"(\"abc"def")"), "def");
    EXPECT_EQ(quoted(R"(\\"abc")"), "abc");
    EXPECT_EQ(quoted(R"(\x"abc")"), "abc");
}

TEST(parse_quoted_escaped_str, ends_an_unterminated_value_with_the_input) {
    EXPECT_EQ(quoted(R"(x"abc)"), "abc");
    EXPECT_EQ(quoted(R"(")"), "");
    EXPECT_EQ(quoted(R"("abc\)"), "abc");
    EXPECT_EQ(quoted(R"("abc\")"), R"(abc")");
}

TEST(parse_quoted_escaped_str, is_empty_without_a_quote) {
    EXPECT_EQ(quoted(""), "");
    EXPECT_EQ(quoted("abc"), "");
    EXPECT_EQ(quoted("\\"), "");
    EXPECT_EQ(quoted(R"(\")"), "");
}

TEST(parse_quoted_escaped_str, consumes_nothing_after_its_value) {
    std::stringstream in(R"(x "one""two" rest)");
    EXPECT_EQ(dp::parse_quoted_escaped_str(in), "one");
    EXPECT_TRUE(in.good());
    EXPECT_EQ(dp::parse_quoted_escaped_str(in), "two");
    EXPECT_TRUE(in.good());
    EXPECT_EQ(in.peek(), ' ');
    EXPECT_EQ(dp::parse_quoted_escaped_str(in), "");
    EXPECT_TRUE(in.eof());
    EXPECT_EQ(dp::parse_quoted_escaped_str(in), "");
}

TEST(parse_quoted_escaped_str, leaves_the_stream_good_after_a_closing_quote_at_its_end) {
    std::stringstream in(R"("abc")");
    EXPECT_EQ(dp::parse_quoted_escaped_str(in), "abc");
    EXPECT_TRUE(in.good());
}

TEST(parse_quoted_escaped_str, reads_nothing_from_a_stream_that_failed_or_ended) {
    for (const auto state : {std::ios::failbit, std::ios::badbit, std::ios::eofbit}) {
        std::stringstream in(R"("abc")");
        in.setstate(state);
        EXPECT_EQ(dp::parse_quoted_escaped_str(in), "");
        in.clear();
        EXPECT_EQ(dp::parse_quoted_escaped_str(in), "abc");
    }
}

TEST(parse_quoted_escaped_str, reads_values_of_any_size) {
    const std::string text(1'000'000, 'x');
    EXPECT_EQ(quoted('"' + text + '"'), text);
    std::string escaped;
    for (int i = 0; i < 500'000; ++i) {
        escaped += "\\\"";
    }
    EXPECT_EQ(quoted('"' + escaped + '"'), std::string(500'000, '"'));
}
