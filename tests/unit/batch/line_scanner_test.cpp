#include "batch/batch_line.hpp"

#include <gtest/gtest.h>

#include <locale>
#include <random>
#include <sstream>
#include <string>
#include <string_view>

#include "batch/quoted_value.hpp"

using dp::batch_line;

namespace {

using namespace std::string_literals;

// A line as a file's reader gives it: a line feed behind it.
class ended_line : public std::string {
  public:
    explicit ended_line(const std::string& text)
        : std::string(text + '\n'), line(std::string_view(*this).substr(0, text.size())) {}
    ended_line(const ended_line&) = delete;
    ended_line& operator=(const ended_line&) = delete;

    batch_line line;
};

// The stream that a line stands for.
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

TEST(batch_line, takes_words_between_white_space) {
    ended_line text(" \t\v\f\rone two\tthree\r");
    batch_line& line = text.line;
    std::string word;
    for (const char* expected : {"one", "two", "three"}) {
        line.take_word(word);
        EXPECT_EQ(word, expected);
        EXPECT_FALSE(line.empty());
    }
    line.take_word(word);
    EXPECT_EQ(word, "three") << "there is no more, so the text stays";
    EXPECT_TRUE(line.empty());
}

TEST(batch_line, is_empty_once_a_word_ran_into_its_end) {
    ended_line text("one two");
    batch_line& line = text.line;
    std::string word;
    line.take_word(word);
    EXPECT_FALSE(line.empty());
    line.take_word(word);
    EXPECT_EQ(word, "two");
    EXPECT_TRUE(line.empty());
}

TEST(batch_line, is_empty_when_there_is_nothing_to_take) {
    EXPECT_TRUE(ended_line("").line.empty());
    EXPECT_FALSE(ended_line("x").line.empty());
}

TEST(batch_line, is_empty_behind_a_closing_quote_at_its_end) {
    ended_line text(R"("x")");
    std::string value;
    text.line.take_value(value);
    EXPECT_EQ(value, "x");
    EXPECT_TRUE(text.line.empty());
    text.line.take_word();
    EXPECT_TRUE(text.line.empty());
}

TEST(batch_line, gives_an_empty_value_where_there_is_none) {
    ended_line text("x");
    batch_line& line = text.line;
    std::string value = "old";
    line.take_value(value);
    EXPECT_EQ(value, "");
    EXPECT_TRUE(line.empty());
    value = "old";
    line.take_value(value);
    EXPECT_EQ(value, "");
}

TEST(batch_line, keeps_an_unterminated_value) {
    ended_line text(R"("a\"b\)");
    batch_line& line = text.line;
    std::string value;
    line.take_value(value);
    EXPECT_EQ(value, R"(a"b)");
    EXPECT_TRUE(line.empty());
}

TEST(batch_line, skips_a_word) {
    ended_line text("one two ");
    batch_line& line = text.line;
    std::string word;
    line.take_word();
    line.take_word(word);
    EXPECT_EQ(word, "two");
    EXPECT_FALSE(line.empty());
    line.take_word();
    EXPECT_TRUE(line.empty());
}

TEST(batch_line, counts_nul_and_high_bytes_as_part_of_words) {
    ended_line text("a\0b\xA0\x85 c"s);
    batch_line& line = text.line;
    std::string word;
    line.take_word(word);
    EXPECT_EQ(word, "a\0b\xA0\x85"s);
}

TEST(batch_line, takes_what_a_stream_takes_from_any_line_in_any_order) {
    const std::string alphabet = "ab\"\"\"\\\\  \t\v\f\r\0\x1F\xA0\x80\xFF"s;
    std::mt19937 random(5);
    for (int i = 0; i < 50'000; ++i) {
        std::string text;
        for (auto length = random() % 40; length > 0; --length) {
            text += alphabet[random() % alphabet.size()];
        }
        ended_line ended(text);
        batch_line& line = ended.line;
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
            // A stream behind its last byte does not know yet that it was the last.
            if (what == 4 || stream.at_end()) {
                ASSERT_EQ(line.empty(), stream.at_end()) << text;
            }
        }
    }
}

TEST(batch_line, takes_words_and_values_of_any_size) {
    const std::string word_text(1'000'000, 'w');
    const std::string value_text(1'000'000, '\\');
    ended_line text(word_text + " \"" + value_text + "\" x");
    batch_line& line = text.line;
    std::string word;
    std::string value;
    line.take_word(word);
    line.take_value(value);
    EXPECT_EQ(word, word_text);
    EXPECT_EQ(value, std::string(500'000, '\\'));
}
