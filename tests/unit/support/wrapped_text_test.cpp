#include "support/wrapped_text.hpp"

#include <gmock/gmock.h>

namespace dp_support {
namespace {

using testing::ElementsAre;

TEST(character_columns, counts_characters_and_invalid_bytes) {
    EXPECT_EQ(character_columns(""), 0U);
    EXPECT_EQ(character_columns("Größe"), 5U);
    EXPECT_EQ(character_columns("a\xff\xff"), 3U);
}

TEST(wrapped_lines, breaks_at_spaces) {
    EXPECT_THAT(wrapped_lines("how the server starts", 10),
                ElementsAre("how the", "server", "starts"));
    EXPECT_THAT(wrapped_lines("how the server", 14), ElementsAre("how the server"));
    EXPECT_THAT(wrapped_lines("größte größe", 6), ElementsAre("größte", "größe"));
}

TEST(wrapped_lines, breaks_at_newlines) {
    EXPECT_THAT(wrapped_lines("a b\n\nc", 10), ElementsAre("a b", "", "c"));
    EXPECT_THAT(wrapped_lines("", 10), ElementsAre(""));
}

TEST(wrapped_lines, does_not_break_words) {
    EXPECT_THAT(wrapped_lines("a verylongword b", 5), ElementsAre("a", "verylongword", "b"));
    EXPECT_THAT(wrapped_lines("verylongword", 0), ElementsAre("verylongword"));
}

TEST(wrapped_lines, keeps_spaces_within_a_line) {
    EXPECT_THAT(wrapped_lines("  a  b", 10), ElementsAre("  a  b"));
    EXPECT_THAT(wrapped_lines("a\n  b", 10), ElementsAre("a", "  b"));
    EXPECT_THAT(wrapped_lines("aaaa   bbbb", 5), ElementsAre("aaaa ", "bbbb"));
}

TEST(wrapped_lines, measures_as_it_is_told) {
    const auto twice = [](std::string_view text) { return 2 * text.size(); };
    EXPECT_THAT(wrapped_lines("aa bb", 5, twice), ElementsAre("aa", "bb"));
}

TEST(wrapped_paragraphs, wraps_paragraphs_and_keeps_indented_lines) {
    EXPECT_EQ(wrapped_paragraphs("one two\nthree four\n\n  an example that is long\nend\n", 14),
              "one two three\nfour\n\n  an example that is long\nend\n");
    EXPECT_EQ(wrapped_paragraphs("one", 14), "one\n");
    EXPECT_EQ(wrapped_paragraphs("", 14), "");
}

}  // namespace
}  // namespace dp_support
