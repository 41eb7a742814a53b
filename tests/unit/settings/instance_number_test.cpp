#include "settings/instance_number.hpp"

#include <gtest/gtest.h>

TEST(parse_instance, reads_an_empty_text_as_no_instance) {
    EXPECT_EQ(dp::parse_instance(""), 0xFFFFFFFEU);
    EXPECT_EQ(dp::no_instance, 0xFFFFFFFEU);
}

TEST(parse_instance, reads_an_unsigned_decimal_number) {
    EXPECT_EQ(dp::parse_instance("0"), 0U);
    EXPECT_EQ(dp::parse_instance("7"), 7U);
    EXPECT_EQ(dp::parse_instance("007"), 7U);
    EXPECT_EQ(dp::parse_instance("4294967293"), 4294967293U);
    EXPECT_EQ(dp::parse_instance("5x"), 5U);
    EXPECT_EQ(dp::parse_instance(" 5"), 5U);
}

TEST(parse_instance, reads_any_other_text_as_the_invalid_instance) {
    for (const char* text : {"x", " ", "-", "4294967296", "99999999999999999999", ".5"}) {
        EXPECT_EQ(dp::parse_instance(text), 0xFFFFFFFFU) << text;
    }
    EXPECT_EQ(dp::invalid_instance, 0xFFFFFFFFU);
}
