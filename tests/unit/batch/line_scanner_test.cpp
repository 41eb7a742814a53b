#include "batch/line_scanner.hpp"

#include <gtest/gtest.h>

#include <locale>
#include <random>
#include <sstream>
#include <string>
#include <string_view>

#include "batch/quoted_value.hpp"

using dp::line_scanner;

namespace {

using namespace std::string_literals;

// A line with a newline after it, as the line reader returns it.
class ended_line : public std::string {
  public:
    explicit ended_line(const std::string& text)
        : std::string(text + '\n'), line(std::string_view(*this).substr(0, text.size())) {}
    ended_line(const ended_line&) = delete;
    ended_line& operator=(const ended_line&) = delete;

    line_scanner line;
};

// Reference: the same extractions from a string stream.
class stream_line {
  public:
    explicit stream_line(const std::string& text) : in_(text) { in_.imbue(std::locale::classic()); }
    void take_word(std::string& word) { in_ >> word; }
    void take_value(std::string& value) { value = dp::parse_quoted_escaped_str(in_); }
    void skip_word() {
        std::string spare;
        in_ >> spare;
    }
    [[nodiscard]] bool at_end() const { return in_.eof(); }

  private:
    std::stringstream in_;
};

}  // namespace

TEST(line_scanner, extracts_words_between_white_space) {
    ended_line text(" \t\v\f\rone two\tthree\r");
    line_scanner& line = text.line;
    std::string word;
    for (const char* expected : {"one", "two", "three"}) {
        line.take_word(word);
        EXPECT_EQ(word, expected);
        EXPECT_FALSE(line.empty());
    }
    line.take_word(word);
    EXPECT_EQ(word, "three") << "without another word the text is kept";
    EXPECT_TRUE(line.empty());
}

TEST(line_scanner, is_empty_after_a_word_at_its_end) {
    ended_line text("one two");
    line_scanner& line = text.line;
    std::string word;
    line.take_word(word);
    EXPECT_FALSE(line.empty());
    line.take_word(word);
    EXPECT_EQ(word, "two");
    EXPECT_TRUE(line.empty());
}

TEST(line_scanner, is_empty_without_text) {
    EXPECT_TRUE(ended_line("").line.empty());
    EXPECT_FALSE(ended_line("x").line.empty());
}

TEST(line_scanner, is_empty_after_a_closing_quote_at_its_end) {
    ended_line text(R"("x")");
    std::string value;
    text.line.take_value(value);
    EXPECT_EQ(value, "x");
    EXPECT_TRUE(text.line.empty());
    text.line.take_word();
    EXPECT_TRUE(text.line.empty());
}

TEST(line_scanner, extracts_an_empty_value_when_there_is_none) {
    ended_line text("x");
    line_scanner& line = text.line;
    std::string value = "old";
    line.take_value(value);
    EXPECT_EQ(value, "");
    EXPECT_TRUE(line.empty());
    value = "old";
    line.take_value(value);
    EXPECT_EQ(value, "");
}

TEST(line_scanner, extracts_an_unterminated_value) {
    ended_line text(R"("a\"b\)");
    line_scanner& line = text.line;
    std::string value;
    line.take_value(value);
    EXPECT_EQ(value, R"(a"b)");
    EXPECT_TRUE(line.empty());
}

TEST(line_scanner, skips_a_word) {
    ended_line text("one two ");
    line_scanner& line = text.line;
    std::string word;
    line.take_word();
    line.take_word(word);
    EXPECT_EQ(word, "two");
    EXPECT_FALSE(line.empty());
    line.take_word();
    EXPECT_TRUE(line.empty());
}

TEST(line_scanner, treats_nul_and_high_bytes_as_parts_of_words) {
    ended_line text("a\0b\xA0\x85 c"s);
    line_scanner& line = text.line;
    std::string word;
    line.take_word(word);
    EXPECT_EQ(word, "a\0b\xA0\x85"s);
}

TEST(line_scanner, agrees_with_stream_extraction_in_any_order_of_calls) {
    const std::string alphabet = "ab\"\"\"\\\\  \t\v\f\r\0\x1F\xA0\x80\xFF"s;
    std::mt19937 random(5);
    for (int i = 0; i < 50'000; ++i) {
        std::string text;
        for (auto length = random() % 40; length > 0; --length) {
            text += alphabet[random() % alphabet.size()];
        }
        ended_line ended(text);
        line_scanner& line = ended.line;
        stream_line stream(text);
        std::string taken = "old";
        std::string expected = "old";
        for (int k = 0; k < 8; ++k) {
            const auto what = random() % 5;
            if (what < 2) {
                line.take_word(taken);
                stream.take_word(expected);
            } else if (what < 4) {
                line.take_value(taken);
                stream.take_value(expected);
            } else {
                line.take_word();
                stream.skip_word();
            }
            ASSERT_EQ(taken, expected) << text;
            // A stream notices its end only when it reads beyond the last byte.
            if (what == 4 || stream.at_end()) {
                ASSERT_EQ(line.empty(), stream.at_end()) << text;
            }
        }
    }
}

TEST(line_scanner, extracts_words_and_values_of_any_size) {
    const std::string word_text(1'000'000, 'w');
    const std::string value_text(1'000'000, '\\');
    ended_line text(word_text + " \"" + value_text + "\" x");
    line_scanner& line = text.line;
    std::string word;
    std::string value;
    line.take_word(word);
    line.take_value(value);
    EXPECT_EQ(word, word_text);
    EXPECT_EQ(value, std::string(500'000, '\\'));
}
