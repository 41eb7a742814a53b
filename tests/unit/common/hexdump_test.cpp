#include "common/hexdump.hpp"

#include <gtest/gtest.h>

#include <array>
#include <iomanip>
#include <sstream>

using dp::hexdump;

namespace {

constexpr std::array<unsigned char, 3> three_bytes{0x0A, 0xFF, 0x00};

}  // namespace

TEST(hexdump, writes_two_lower_case_digits_for_each_byte) {
    std::ostringstream os;
    os << hexdump{three_bytes.data(), 3};
    EXPECT_EQ(os.str(), "0aff00");
}

TEST(hexdump, writes_every_byte_value) {
    std::ostringstream os;
    std::ostringstream expected;
    std::array<unsigned char, 256> all{};
    const std::string digits = "0123456789abcdef";
    for (unsigned i = 0; i < 256; ++i) {
        all[i] = static_cast<unsigned char>(i);
        expected << digits[i / 16] << digits[i % 16];
    }
    os << hexdump{all.data(), 256};
    EXPECT_EQ(os.str(), expected.str());
}

TEST(hexdump, writes_only_count_bytes) {
    std::ostringstream os;
    os << hexdump{three_bytes.data(), 1};
    EXPECT_EQ(os.str(), "0a");
}

TEST(hexdump, writes_nothing_and_does_not_change_the_stream_without_bytes) {
    for (const int count : {0, -1}) {
        std::ostringstream os;
        os << std::uppercase << std::oct << std::setfill('*');
        const auto flags = os.flags();
        os << hexdump{nullptr, count};
        EXPECT_EQ(os.str(), "");
        EXPECT_EQ(os.flags(), flags);
        EXPECT_EQ(os.fill(), '*');
    }
}

TEST(hexdump, restores_the_flags_but_not_the_fill_character) {
    std::ostringstream os;
    os << std::oct << hexdump{three_bytes.data(), 1} << ' ' << 8 << ' ' << std::dec << std::setw(3)
       << 7;
    EXPECT_EQ(os.str(), "0a 10 007");
    EXPECT_EQ(os.fill(), '0');
}

TEST(hexdump, is_hexadecimal_whatever_the_base_of_the_stream) {
    for (const auto base : {std::ios_base::dec, std::ios_base::oct, std::ios_base::hex,
                            std::ios_base::fmtflags{}, std::ios_base::dec | std::ios_base::oct}) {
        std::ostringstream os;
        os.setf(base, std::ios_base::basefield);
        const auto flags = os.flags();
        os << hexdump{three_bytes.data(), 3};
        EXPECT_EQ(os.str(), "0aff00");
        EXPECT_EQ(os.flags(), flags);
    }
}
