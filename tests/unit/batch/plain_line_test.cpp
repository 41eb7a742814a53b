#include "batch/plain_line.hpp"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <sstream>
#include <string>
#include <string_view>

#include "batch/batch_file_entry.hpp"
#include "batch/line_scanner.hpp"
#include "tests/support/rounds.hpp"

namespace {

using namespace std::string_literals;
using line_texts = std::array<std::string, 7>;

// A text with a newline and readable padding after it, as the line reader buffers it. The padding
// looks like more of the line, so that the tests notice a scan that goes too far.
class padded_text {
  public:
    explicit padded_text(const std::string& text)
        : bytes_(text + '\n' + R"("" \" "" "x")"), size_(text.size()) {
        bytes_.resize(size_ + dp::plain_line::padding);
    }
    [[nodiscard]] std::string_view text() const {
        return std::string_view(bytes_).substr(0, size_);
    }

  private:
    std::string bytes_;
    std::size_t size_;
};

// Splits a line and the newline after it.
bool split(const std::string& line, line_texts& parts) {
    const padded_text padded(line + '\n');
    dp::plain_line plain;
    if (!plain.split(padded.text())) {
        return false;
    }
    EXPECT_EQ(plain.size, line.size() + 1);
    parts = {std::string(plain.status),    std::string(plain.detail), std::string(plain.tid),
             std::string(plain.operation), std::string(plain.name),   std::string(plain.value_in),
             std::string(plain.value_out)};
    return true;
}

bool is_plain(const std::string& text) {
    line_texts parts;
    return split(text, parts);
}

// Extracts the parts of a line with a line_scanner. Returns false when more than a word follows.
bool take(const std::string& text, line_texts& parts) {
    const std::string ended = text + '\n';
    dp::line_scanner line(std::string_view(ended).substr(0, text.size()));
    for (std::size_t i = 0; i < 5; ++i) {
        line.take_word(parts[i]);
    }
    line.take_value(parts[5]);
    line.take_value(parts[6]);
    line.take_word();
    return line.empty();
}

}  // namespace

TEST(plain_line, has_the_parts_of_a_written_entry) {
    dp::batch_file_entry entry;
    entry.status = "0";
    entry.detail = "4294967295";
    entry.tid = "<cim-12>";
    entry.operation = "set";
    entry.name.parse("Boot.Some.Setting.with.a.long.name.that.takes.many.bytes.12");
    for (const char* value : {"", "x", "1234567", "12345678", "123456789", "a value, of # bytes"}) {
        entry.value_in = value;
        entry.value_out = value + "\t\xFF"s;
        std::ostringstream text;
        text << entry;
        line_texts parts;
        ASSERT_TRUE(split(text.str(), parts)) << text.str();
        EXPECT_EQ(parts, (line_texts{entry.status, entry.detail, entry.tid, entry.operation,
                                     entry.name.get_name(), entry.value_in, entry.value_out}));
    }
}

TEST(plain_line, may_end_with_its_last_quote_or_a_space_after_it) {
    EXPECT_TRUE(is_plain(R"(0 0 t set A.B "1" "")"));
    EXPECT_TRUE(is_plain(R"(0 0 t set A.B "1" "" )"));
    EXPECT_FALSE(is_plain(R"(0 0 t set A.B "1" ""  )"));
    EXPECT_FALSE(is_plain(R"(0 0 t set A.B "1" "" x)"));
    EXPECT_FALSE(is_plain(R"(0 0 t set A.B "1" ""x)"));
    EXPECT_FALSE(is_plain("0 0 t set A.B \"1\" \"\"\r"));
}

TEST(plain_line, has_single_spaces_between_its_parts) {
    const std::string line = R"(0 0 t set A.B "1" "")";
    for (std::size_t at = line.find(' '); at != std::string::npos; at = line.find(' ', at + 1)) {
        for (const char* gap : {"", "  ", "\t", "\r", "\v ", " \f"}) {
            std::string other = line;
            EXPECT_FALSE(is_plain(other.replace(at, 1, gap))) << other;
        }
    }
    EXPECT_FALSE(is_plain(' ' + line));
}

TEST(plain_line, has_all_its_parts) {
    const std::string line = R"(0 0 t set A.B "one" "two")";
    for (std::size_t size = 0; size < line.size(); ++size) {
        EXPECT_FALSE(is_plain(line.substr(0, size))) << size;
    }
    EXPECT_TRUE(is_plain(line));
}

TEST(plain_line, ends_with_a_newline_in_the_text) {
    const std::string line = R"(0 0 t set A.B "one" "two")";
    dp::plain_line plain;
    EXPECT_FALSE(plain.split(padded_text(line).text())) << "the line may continue";
    EXPECT_FALSE(plain.split(padded_text(line + ' ').text()));
    EXPECT_FALSE(plain.split(padded_text("").text()));
    EXPECT_FALSE(plain.split(padded_text("\n" + line + '\n').text()));
    const padded_text two(line + " \n" + line + '\n');
    EXPECT_TRUE(plain.split(two.text()));
    EXPECT_EQ(plain.size, line.size() + 2) << "the first line only";
}

TEST(plain_line, is_not_a_comment) {
    EXPECT_FALSE(is_plain(R"(#0 0 t set A.B "1" "")"));
    EXPECT_FALSE(is_plain(R"(# 0 t set A.B "1" "")"));
    EXPECT_TRUE(is_plain(R"(0 # t set A.B "1" "")"));
}

TEST(plain_line, has_no_backslash_in_its_values) {
    EXPECT_FALSE(is_plain(R"(0 0 t set A.B "\"" "")"));
    EXPECT_FALSE(is_plain(R"(0 0 t set A.B "" "a long value \\")"));
    EXPECT_TRUE(is_plain(R"(0 0 \ set A\.B "" "")")) << "in a word it is an ordinary byte";
}

TEST(plain_line, has_the_parts_that_line_scanner_extracts) {
    const std::array<std::string, 16> pieces{
        "0",  " ",  " ",   " ",    "A.B",  "\"",  "\"", "\" \"", "\"x\"", "a longer piece",
        "\\", "\t", "\0"s, "\x1F", "\x80", "\xFF"};
    std::mt19937 random(11);
    const int texts = test::rounds(200'000);
    int plain = 0;
    for (int i = 0; i < texts; ++i) {
        std::string text = random() % 2 == 0 ? R"(0 0 t set A.B "1" "")" : "0 0 t set ";
        for (auto count = random() % 6; count > 0; --count) {
            text.insert(random() % 3 == 0 ? random() % (text.size() + 1) : text.size(),
                        pieces[random() % pieces.size()]);
        }
        line_texts parts;
        if (!split(text, parts)) {
            continue;
        }
        ++plain;
        line_texts expected;
        ASSERT_TRUE(take(text, expected)) << text;
        ASSERT_EQ(parts, expected) << text;
    }
    EXPECT_GT(plain, texts / 10) << "too few lines were plain";
}

TEST(plain_line, may_have_parts_of_any_size) {
    const std::string word(100'000, 'w');
    line_texts parts;
    ASSERT_TRUE(
        split("0 0 " + word + " set " + word + " \"" + word + "\" \"" + word + "\"", parts));
    EXPECT_EQ(parts, (line_texts{"0", "0", word, "set", word, word, word}));
}
