#include "support/ascii_case.hpp"

#include <gtest/gtest.h>

namespace {

using dp_support::equal_ignoring_case;

TEST(lower_case, changes_only_ascii_letters) {
    EXPECT_EQ(dp_support::lower_case("AbZ[@`9"), "abz[@`9");
    EXPECT_EQ(dp_support::lower_case("Ä"), "Ä");
}

TEST(equal_ignoring_case, compares_ascii_letters) {
    EXPECT_TRUE(equal_ignoring_case("Uefi", "UEFI"));
    EXPECT_TRUE(equal_ignoring_case("", ""));
    EXPECT_FALSE(equal_ignoring_case("UEFI", "UEFI "));
    EXPECT_FALSE(equal_ignoring_case("Ä", "ä"));
    EXPECT_FALSE(equal_ignoring_case("@", "`"));
}

}  // namespace
