#include "support/hexadecimal.hpp"

#include <gtest/gtest.h>

#include <array>
#include <span>

namespace {

TEST(hexadecimal_digits, has_two_lower_case_digits_for_each_byte) {
    constexpr std::array<unsigned char, 4> bytes{0x00, 0x0F, 0xA5, 0xFF};
    EXPECT_EQ(dp_support::hexadecimal_digits(bytes), "000fa5ff");
    EXPECT_EQ(dp_support::hexadecimal_digits(std::span(bytes).first(0)), "");
}

}  // namespace
