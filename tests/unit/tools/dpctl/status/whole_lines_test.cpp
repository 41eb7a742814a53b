#include "tools/dpctl/status/whole_lines.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct taken {
    std::vector<std::string> lines;
    bool is_torn;
};

taken take_from(std::string_view text) {
    taken result{};
    result.is_torn = dpctl::for_each_whole_line(
        text, [&result](std::string_view line) { result.lines.emplace_back(line); });
    return result;
}

}  // namespace

TEST(whole_lines, are_taken_in_order_empty_ones_included) {
    const taken all = take_from("one\n\ntwo\n");
    EXPECT_THAT(all.lines, ElementsAre("one", "", "two"));
    EXPECT_FALSE(all.is_torn);
}

TEST(whole_lines, leave_a_last_line_without_its_end) {
    const taken some = take_from("one\ntw");
    EXPECT_THAT(some.lines, ElementsAre("one"));
    EXPECT_TRUE(some.is_torn);
    EXPECT_TRUE(take_from("o").is_torn);
}

TEST(whole_lines, of_nothing_are_none) {
    const taken none = take_from("");
    EXPECT_THAT(none.lines, IsEmpty());
    EXPECT_FALSE(none.is_torn);
}
