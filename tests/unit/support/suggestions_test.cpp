#include "support/suggestions.hpp"

#include <gmock/gmock.h>

namespace dp_support {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> similar(std::string_view text,
                                 const std::vector<std::string_view>& names) {
    std::vector<std::string> found;
    for (const std::size_t i : similar_names(text, names)) {
        found.emplace_back(names[i]);
    }
    return found;
}

TEST(edit_distance, counts_typing_errors) {
    EXPECT_EQ(edit_distance("BootMode", "BootMode", 4), 0U);
    EXPECT_EQ(edit_distance("BootMode", "bootmode", 4), 0U);
    EXPECT_EQ(edit_distance("BotMode", "BootMode", 4), 1U);
    EXPECT_EQ(edit_distance("BoootMode", "BootMode", 4), 1U);
    EXPECT_EQ(edit_distance("BattMode", "BootMode", 4), 2U);
    EXPECT_EQ(edit_distance("BootMoed", "BootMode", 4), 1U);
    EXPECT_EQ(edit_distance("", "abc", 4), 3U);
}

TEST(edit_distance, stops_beyond_the_limit) {
    EXPECT_EQ(edit_distance("abcdef", "uvwxyz", 2), 3U);
    EXPECT_EQ(edit_distance("a", std::string(100'000, 'b'), 2), 3U);
}

TEST(similar_names, returns_the_most_similar_first) {
    EXPECT_THAT(similar("BotMode", {"BattMode", "BootMode", "Speed"}),
                ElementsAre("BootMode", "BattMode"));
}

TEST(similar_names, finds_names_that_contain_the_text) {
    EXPECT_THAT(similar("turbo", {"Speed", "EnableTurboBoost"}), ElementsAre("EnableTurboBoost"));
    EXPECT_THAT(similar("ab", {"xxabxx"}), IsEmpty());
}

TEST(similar_names, returns_at_most_three) {
    EXPECT_THAT(similar("Node1", {"Node2", "Node3", "Node4", "Node5"}),
                ElementsAre("Node2", "Node3", "Node4"));
}

TEST(similar_names, returns_nothing_for_a_dissimilar_text) {
    EXPECT_THAT(similar("Memory", {"Boot", "Speed", ""}), IsEmpty());
    EXPECT_THAT(similar("", {"Boot"}), IsEmpty());
    EXPECT_THAT(similar("x", {}), IsEmpty());
}

TEST(enumerate, joins_with_commas_and_a_last_separator) {
    EXPECT_EQ(enumerate(std::vector<std::string>{}, " and "), "");
    EXPECT_EQ(enumerate(std::vector<std::string>{"A"}, " and "), "A");
    EXPECT_EQ(enumerate(std::vector<std::string>{"A", "B", "C"}, " and "), "A, B and C");
}

TEST(did_you_mean, lists_the_names_in_a_question) {
    EXPECT_EQ(did_you_mean(std::vector<std::string>{}), "");
    EXPECT_EQ(did_you_mean(std::vector<std::string>{"A"}), "did you mean A?");
    EXPECT_EQ(did_you_mean(std::vector<std::string>{"A", "B", "C"}), "did you mean A, B or C?");
}

}  // namespace
}  // namespace dp_support
