#include "support/decimal.hpp"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

using dp_support::decimal::is_digits;
using dp_support::decimal::parse;

TEST(is_digits, accepts_one_or_more_decimal_digits) {
    EXPECT_TRUE(is_digits("0"));
    EXPECT_TRUE(is_digits("00123456789012345678901234567890"));
    for (const char* text : {"", "-1", "+1", " 1", "1 ", "1x", "0x1", "1.0"}) {
        EXPECT_FALSE(is_digits(text)) << text;
    }
}

TEST(decimal_parse, gives_the_number_in_its_range) {
    EXPECT_EQ(parse<std::uint32_t>("0"), 0U);
    EXPECT_EQ(parse<std::uint32_t>("007"), 7U);
    EXPECT_EQ(parse<std::uint32_t>("4294967295"), 4294967295U);
    EXPECT_FALSE(parse<std::uint32_t>("4294967296").has_value());
    EXPECT_EQ(parse<std::int32_t>("-2147483648"), -2147483647 - 1);
    EXPECT_FALSE(parse<std::int32_t>("2147483648").has_value());
}

TEST(decimal_parse, rejects_texts_that_are_not_a_number) {
    for (const char* text : {"", "-1", "+1", " 1", "1 ", "1x", "0x1", "-"}) {
        EXPECT_FALSE(parse<std::uint32_t>(text).has_value()) << text;
    }
}

}  // namespace
