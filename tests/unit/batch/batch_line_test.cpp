#include "batch/batch_line.hpp"

#include <gtest/gtest.h>

#include <locale>
#include <random>
#include <sstream>
#include <string>

#include "batch/quoted_value.hpp"

using dp::batch_line;

namespace {

using namespace std::string_literals;

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
    const std::string text = " \t\n\v\f\rone two\tthree\r";
    batch_line line(text);
    std::string word;
    for (const char* expected : {"one", "two", "three"}) {
        line.take_word(word);
        EXPECT_EQ(word, expected);
        EXPECT_FALSE(line.at_end());
    }
    line.take_word(word);
    EXPECT_EQ(word, "three") << "there is no more, so the text stays";
    EXPECT_TRUE(line.at_end());
}

TEST(batch_line, is_at_its_end_once_a_word_ran_into_it) {
    batch_line line("one two");
    std::string word;
    line.take_word(word);
    EXPECT_FALSE(line.at_end());
    line.take_word(word);
    EXPECT_EQ(word, "two");
    EXPECT_TRUE(line.at_end());
}

TEST(batch_line, is_not_at_its_end_before_anything_was_taken) {
    EXPECT_FALSE(batch_line("").at_end());
    EXPECT_FALSE(batch_line("x").at_end());
}

TEST(batch_line, a_closing_quote_at_the_end_does_not_run_into_it) {
    batch_line line(R"("x")");
    std::string value;
    line.take_value(value);
    EXPECT_EQ(value, "x");
    EXPECT_FALSE(line.at_end());
    line.skip_word();
    EXPECT_TRUE(line.at_end());
}

TEST(batch_line, gives_an_empty_value_where_there_is_none) {
    batch_line line("x");
    std::string value = "old";
    line.take_value(value);
    EXPECT_EQ(value, "");
    EXPECT_TRUE(line.at_end());
    value = "old";
    line.take_value(value);
    EXPECT_EQ(value, "");
}

TEST(batch_line, keeps_an_unterminated_value) {
    batch_line line(R"("a\"b\)");
    std::string value;
    line.take_value(value);
    EXPECT_EQ(value, R"(a"b)");
    EXPECT_TRUE(line.at_end());
}

TEST(batch_line, skips_a_word) {
    batch_line line("one two ");
    std::string word;
    line.skip_word();
    line.take_word(word);
    EXPECT_EQ(word, "two");
    EXPECT_FALSE(line.at_end());
    line.skip_word();
    EXPECT_TRUE(line.at_end());
}

TEST(batch_line, counts_nul_and_high_bytes_as_part_of_words) {
    const std::string text = "a\0b\xA0\x85 c"s;
    batch_line line(text);
    std::string word;
    line.take_word(word);
    EXPECT_EQ(word, "a\0b\xA0\x85"s);
}

TEST(batch_line, takes_what_a_stream_takes_from_any_line_in_any_order) {
    const std::string alphabet = "ab\"\"\"\\\\  \t\v\f\r\n\0\xA0\xFF"s;
    std::mt19937 random(5);
    for (int i = 0; i < 50'000; ++i) {
        std::string text;
        for (auto length = random() % 24; length > 0; --length) {
            text += alphabet[random() % alphabet.size()];
        }
        batch_line line(text);
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
                line.skip_word();
                stream.skip_word();
            }
            ASSERT_EQ(taken, expected) << text;
            ASSERT_EQ(line.at_end(), stream.at_end()) << text;
        }
    }
}

TEST(batch_line, takes_words_and_values_of_any_size) {
    const std::string word_text(1'000'000, 'w');
    const std::string value_text(1'000'000, '\\');
    const std::string text = word_text + " \"" + value_text + "\" x";
    batch_line line(text);
    std::string word;
    std::string value;
    line.take_word(word);
    line.take_value(value);
    EXPECT_EQ(word, word_text);
    EXPECT_EQ(value, std::string(500'000, '\\'));
}
