#include "support/complete_lines.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct lines_and_rest {
    std::vector<std::string> lines;
    bool is_incomplete;
};

lines_and_rest take_from(std::string_view text) {
    lines_and_rest result{};
    result.is_incomplete = dp_support::for_each_complete_line(
        text, [&result](std::string_view line) { result.lines.emplace_back(line); });
    return result;
}

}  // namespace

TEST(for_each_complete_line, takes_lines_in_order_including_empty_ones) {
    const auto all = take_from("one\n\ntwo\n");
    EXPECT_THAT(all.lines, ElementsAre("one", "", "two"));
    EXPECT_FALSE(all.is_incomplete);
}

TEST(for_each_complete_line, reports_an_incomplete_last_line) {
    const auto some = take_from("one\ntw");
    EXPECT_THAT(some.lines, ElementsAre("one"));
    EXPECT_TRUE(some.is_incomplete);
    EXPECT_TRUE(take_from("o").is_incomplete);
}

TEST(for_each_complete_line, takes_nothing_from_an_empty_text) {
    const auto none = take_from("");
    EXPECT_THAT(none.lines, IsEmpty());
    EXPECT_FALSE(none.is_incomplete);
}
