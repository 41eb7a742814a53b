#include "support/line_index.hpp"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string position_of(const std::string& text, std::size_t offset) {
    const auto position = dp_support::line_index(text).position_of(offset);
    return std::to_string(position.line) + ":" + std::to_string(position.column);
}

TEST(line_index, counts_lines_and_bytes_from_one) {
    const std::string text = "ab\n\ncd";
    EXPECT_EQ(position_of(text, 0), "1:1");
    EXPECT_EQ(position_of(text, 2), "1:3");
    EXPECT_EQ(position_of(text, 3), "2:1");
    EXPECT_EQ(position_of(text, 5), "3:2");
    EXPECT_EQ(position_of(text, 6), "3:3");
    EXPECT_EQ(position_of("", 0), "1:1");
}

}  // namespace
