#include "tools/dpctl/names/near_names.hpp"

#include <gmock/gmock.h>

namespace dpctl {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> near(std::string_view text, const std::vector<std::string_view>& names) {
    std::vector<std::string> found;
    for (const std::size_t i : near_names(text, names)) {
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

TEST(near_names, names_the_nearest_first) {
    EXPECT_THAT(near("BotMode", {"BattMode", "BootMode", "Speed"}),
                ElementsAre("BootMode", "BattMode"));
}

TEST(near_names, finds_a_part) {
    EXPECT_THAT(near("turbo", {"Speed", "EnableTurboBoost"}), ElementsAre("EnableTurboBoost"));
    EXPECT_THAT(near("ab", {"xxabxx"}), IsEmpty());
}

TEST(near_names, are_few) {
    EXPECT_THAT(near("Node1", {"Node2", "Node3", "Node4", "Node5"}),
                ElementsAre("Node2", "Node3", "Node4"));
}

TEST(near_names, of_something_else_are_none) {
    EXPECT_THAT(near("Memory", {"Boot", "Speed", ""}), IsEmpty());
    EXPECT_THAT(near("", {"Boot"}), IsEmpty());
    EXPECT_THAT(near("x", {}), IsEmpty());
}

TEST(did_you_mean, asks) {
    EXPECT_EQ(did_you_mean(std::vector<std::string>{}), "");
    EXPECT_EQ(did_you_mean(std::vector<std::string>{"A"}), "did you mean A?");
    EXPECT_EQ(did_you_mean(std::vector<std::string>{"A", "B", "C"}), "did you mean A, B or C?");
}

}  // namespace
}  // namespace dpctl
