#include "batch/line_source.hpp"

#include <gtest/gtest.h>

#include <istream>
#include <random>
#include <sstream>
#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

#include "batch/batch_line.hpp"
#include "tests/support/cpu_time.hpp"

namespace {

using namespace std::string_literals;

using lines = std::vector<std::string>;

// Every second line that is at hand is taken as such.
lines all_lines(std::istream& in) {
    lines found;
    dp::line_source source(in);
    for (;;) {
        const std::string_view at_hand = source.at_hand();
        EXPECT_EQ(at_hand.data()[at_hand.size()], '\n') << "what stands behind what is at hand";
        const std::size_t end = at_hand.find('\n');
        if (end != std::string_view::npos && found.size() % 2 == 1) {
            found.emplace_back(at_hand.substr(0, end));
            source.take(end + 1);
            continue;
        }
        std::string_view line;
        if (!source.next(line)) {
            return found;
        }
        EXPECT_EQ(line.data()[line.size()], '\n') << "what stands behind a line";
        found.emplace_back(line);
    }
}

// What getline gives, but for the empty line behind a last line feed.
lines reference_lines(std::istream& in) {
    lines found;
    for (std::string line; std::getline(in, line);) {
        found.push_back(line);
    }
    return found;
}

// Gives its text in pieces, or byte by byte without ever having one at hand.
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

TEST(line_source, ends_a_line_with_a_line_feed_or_with_the_stream) {
    for (const auto& [text, expected] :
         {std::pair{""s, lines{}}, std::pair{"\n"s, lines{""}}, std::pair{"a"s, lines{"a"}},
          std::pair{"a\n\nb\n"s, lines{"a", "", "b"}}, std::pair{"a\r\nb"s, lines{"a\r", "b"}},
          std::pair{"\0\n\xFF"s, lines{"\0"s, "\xFF"}}}) {
        std::istringstream in(text);
        EXPECT_EQ(all_lines(in), expected);
    }
}

TEST(line_source, leaves_the_state_that_getline_leaves) {
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

TEST(line_source, takes_nothing_from_a_stream_that_is_not_good) {
    for (const auto state : {std::ios::failbit, std::ios::badbit, std::ios::eofbit}) {
        std::istringstream in("a\n");
        in.setstate(state);
        EXPECT_TRUE(all_lines(in).empty());
        EXPECT_EQ(in.rdstate(), state);
    }
}

TEST(line_source, ends_where_the_stream_cannot_be_read) {
    unreadable buffer;
    std::istream in(&buffer);
    EXPECT_TRUE(all_lines(in).empty());
    EXPECT_TRUE(in.bad());
}

TEST(line_source, gives_what_getline_gives_however_the_stream_comes) {
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

TEST(line_source, takes_a_long_line_in_small_pieces) {
    // Where a copy onto itself costs what any other costs, moving the line for every piece would
    // take minutes.
    const std::string text(4'000'000, 'x');
    piecewise buffer(text, 10);
    std::istream in(&buffer);
    const double bound = 100 * test::cost_of_100_000_calls();
    const test::cpu_time used;
    EXPECT_EQ(all_lines(in), lines{text});
    EXPECT_LT(used.seconds(), bound);
}

TEST(line_source, asks_for_more_only_when_the_next_line_needs_it) {
    piecewise buffer("one\ntwo\nthree\n", 4);
    std::istream in(&buffer);
    dp::line_source source(in);
    std::string_view line;
    ASSERT_TRUE(source.next(line));
    EXPECT_EQ(buffer.given(), 4U);
    ASSERT_TRUE(source.next(line));
    EXPECT_EQ(line, "two");
    EXPECT_EQ(buffer.given(), 8U);
}
