#include "tools/dpctl/output/text_style.hpp"

#include <gtest/gtest.h>

#include <string>

namespace dpctl {
namespace {

TEST(styled, has_control_sequences_only_with_colours) {
    EXPECT_EQ(styled("a", text_style::heading, true), "\x1b[1ma\x1b[0m");
    EXPECT_EQ(styled("a", text_style::heading, false), "a");
    EXPECT_EQ(styled("a", text_style::plain, true), "a");
    EXPECT_EQ(styled("", text_style::changed, true), "");
    for (const text_style style : {text_style::changed, text_style::faint}) {
        EXPECT_TRUE(styled("a", style, true).ends_with("a\x1b[0m"));
    }
}

TEST(rows_on_screen, counts_the_rows_of_wrapped_lines) {
    EXPECT_EQ(rows_on_screen("", 10), 0U);
    EXPECT_EQ(rows_on_screen("a\n\nb\n", 10), 3U);
    EXPECT_EQ(rows_on_screen(std::string(10, 'x') + '\n', 10), 1U);
    EXPECT_EQ(rows_on_screen(std::string(11, 'x') + '\n', 10), 2U);
    EXPECT_EQ(rows_on_screen("起動順序起\n", 10), 1U);
}

TEST(rows_on_screen, counts_no_control_sequences) {
    const std::string line = styled("12345", text_style::heading, true) +
                             styled("67890", text_style::changed, true) + '\n';
    EXPECT_EQ(rows_on_screen(line, 10), 1U);
    EXPECT_EQ(rows_on_screen(line, 9), 2U);
}

}  // namespace
}  // namespace dpctl
