#include "batch/line_reader.hpp"

#include <gtest/gtest.h>

#include <istream>
#include <random>
#include <sstream>
#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/cpu_time.hpp"

namespace {

using namespace std::string_literals;

using lines = std::vector<std::string>;

// Reads all lines; every second line from the buffered bytes, if it is complete there.
lines all_lines(std::istream& in) {
    lines found;
    dp::line_reader reader(in);
    for (;;) {
        const std::string_view buffered = reader.buffered();
        EXPECT_EQ(buffered.data()[buffered.size()], '\n') << "a newline follows the buffered bytes";
        const std::size_t end = buffered.find('\n');
        if (end != std::string_view::npos && found.size() % 2 == 1) {
            found.emplace_back(buffered.substr(0, end));
            reader.consume(end + 1);
            continue;
        }
        std::string_view line;
        if (!reader.next(line)) {
            return found;
        }
        EXPECT_EQ(line.data()[line.size()], '\n') << "a newline follows the line";
        found.emplace_back(line);
    }
}

// The lines that std::getline reads.
lines reference_lines(std::istream& in) {
    lines found;
    for (std::string line; std::getline(in, line);) {
        found.push_back(line);
    }
    return found;
}

// Provides its text in pieces; with a piece size of 0 byte by byte, without a buffer.
class piecewise : public std::streambuf {
  public:
    piecewise(std::string text, std::size_t piece) : text_(std::move(text)), piece_(piece) {}
    [[nodiscard]] std::size_t given() const { return at_; }

  protected:
    int_type underflow() override {
        if (at_ == text_.size()) {
            return traits_type::eof();
        }
        if (piece_ == 0) {
            return traits_type::to_int_type(text_[at_]);
        }
        if (gptr() == egptr()) {
            const std::size_t size = std::min(piece_, text_.size() - at_);
            setg(text_.data() + at_, text_.data() + at_, text_.data() + at_ + size);
            at_ += size;
        }
        return traits_type::to_int_type(*gptr());
    }
    int_type uflow() override {
        if (piece_ != 0) {
            return std::streambuf::uflow();
        }
        return at_ == text_.size() ? traits_type::eof() : traits_type::to_int_type(text_[at_++]);
    }

  private:
    std::string text_;
    std::size_t piece_;
    std::size_t at_ = 0;
};

class unreadable : public std::streambuf {
  protected:
    int_type underflow() override { throw 1; }
};

}  // namespace

TEST(line_reader, ends_a_line_at_a_newline_or_at_the_end_of_the_stream) {
    for (const auto& [text, expected] :
         {std::pair{""s, lines{}}, std::pair{"\n"s, lines{""}}, std::pair{"a"s, lines{"a"}},
          std::pair{"a\n\nb\n"s, lines{"a", "", "b"}}, std::pair{"a\r\nb"s, lines{"a\r", "b"}},
          std::pair{"\0\n\xFF"s, lines{"\0"s, "\xFF"}}}) {
        std::istringstream in(text);
        EXPECT_EQ(all_lines(in), expected);
    }
}

TEST(line_reader, leaves_the_state_that_getline_leaves) {
    for (const auto& text : {""s, "\n"s, "a"s, "a\n"s, std::string(8192, 'x'),
                             std::string(8191, 'x') + "\n", std::string(8192, 'x') + "\n"}) {
        std::istringstream in(text);
        std::istringstream expected(text);
        all_lines(in);
        while (expected.good()) {
            std::string line;
            std::getline(expected, line);
        }
        EXPECT_EQ(in.rdstate(), expected.rdstate()) << text.size();
    }
}

TEST(line_reader, reads_nothing_from_a_stream_that_is_not_good) {
    for (const auto state : {std::ios::failbit, std::ios::badbit, std::ios::eofbit}) {
        std::istringstream in("a\n");
        in.setstate(state);
        EXPECT_TRUE(all_lines(in).empty());
        EXPECT_EQ(in.rdstate(), state);
    }
}

TEST(line_reader, ends_when_the_stream_cannot_be_read) {
    unreadable buffer;
    std::istream in(&buffer);
    EXPECT_TRUE(all_lines(in).empty());
    EXPECT_TRUE(in.bad());
}

TEST(line_reader, agrees_with_getline_on_streams_in_pieces_of_any_size) {
    std::mt19937 random(7);
    for (int round = 0; round < 60; ++round) {
        std::string text;
        while (text.size() < 30'000) {
            const auto kind = random() % 12;
            const std::size_t size = kind == 0 ? random() % 20'000 : random() % 100;
            text.append(size, static_cast<char>('a' + random() % 26));
            text.append(kind < 11 ? 1 : 0, '\n');
        }
        std::istringstream reference(text);
        const lines expected = reference_lines(reference);
        for (const std::size_t piece : {0U, 1U, 7U, 100U, 8192U, 100'000U}) {
            piecewise buffer(text, piece);
            std::istream in(&buffer);
            ASSERT_EQ(all_lines(in), expected) << "pieces of " << piece;
        }
    }
}

TEST(line_reader, reads_a_long_line_in_small_pieces) {
    // Moving the line for every piece would take minutes.
    const std::string text(4'000'000, 'x');
    piecewise buffer(text, 10);
    std::istream in(&buffer);
    const double bound = 100 * test::cost_of_100_000_calls();
    const test::cpu_time used;
    EXPECT_EQ(all_lines(in), lines{text});
    EXPECT_LT(used.seconds(), bound);
}

TEST(line_reader, never_reads_ahead) {
    piecewise buffer("one\ntwo\nthree\n", 4);
    std::istream in(&buffer);
    dp::line_reader reader(in);
    std::string_view line;
    ASSERT_TRUE(reader.next(line));
    EXPECT_EQ(buffer.given(), 4U);
    ASSERT_TRUE(reader.next(line));
    EXPECT_EQ(line, "two");
    EXPECT_EQ(buffer.given(), 8U);
}
