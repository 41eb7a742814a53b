#include "common/numbers.hpp"
#include "tests/support/rounds.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <locale>
#include <random>
#include <sstream>
#include <string>
#include <string_view>

using dp::number_base;

namespace {

using namespace std::string_literals;

// The result of a standard input stream for the text.
template <class Integer>
dp::parsed_number<Integer> extract(const std::string& text, number_base base) {
    std::istringstream in(text);
    in.imbue(std::locale::classic());
    if (base == number_base::hexadecimal) {
        in >> std::hex;
    }
    Integer value = 0;
    in >> value;
    return {value, !in.fail()};
}

std::string shown(const std::string& text) {
    std::ostringstream os;
    for (const char c : text) {
        if (c > ' ' && c <= '~') {
            os << c;
        } else {
            os << '<' << static_cast<int>(static_cast<unsigned char>(c)) << '>';
        }
    }
    return os.str();
}

// Compares both types in both bases. Reports a failure and returns false at the first difference.
bool agrees_with_stream(const std::string& text) {
    for (const auto base : {number_base::decimal, number_base::hexadecimal}) {
        const auto signed_expected = extract<std::int32_t>(text, base);
        const auto signed_actual = dp::parse_signed(text, base);
        const auto unsigned_expected = extract<std::uint32_t>(text, base);
        const auto unsigned_actual = dp::parse_unsigned(text, base);
        const bool same = signed_actual.value == signed_expected.value &&
                          signed_actual.ok == signed_expected.ok &&
                          unsigned_actual.value == unsigned_expected.value &&
                          unsigned_actual.ok == unsigned_expected.ok;
        if (!same) {
            ADD_FAILURE() << '"' << shown(text) << "\" in base "
                          << (base == number_base::decimal ? 10 : 16) << ": signed "
                          << signed_actual.value << (signed_actual.ok ? "" : " failed")
                          << ", the stream has " << signed_expected.value
                          << (signed_expected.ok ? "" : " failed") << "; unsigned "
                          << unsigned_actual.value << (unsigned_actual.ok ? "" : " failed")
                          << ", the stream has " << unsigned_expected.value
                          << (unsigned_expected.ok ? "" : " failed");
            return false;
        }
    }
    return true;
}

}  // namespace

TEST(parse_unsigned, reads_decimal_digits_up_to_the_first_other_byte) {
    EXPECT_EQ(dp::parse_unsigned("42").value, 42U);
    EXPECT_TRUE(dp::parse_unsigned("42").ok);
    EXPECT_EQ(dp::parse_unsigned(" \t\n\v\f\r7x9").value, 7U);
    EXPECT_EQ(dp::parse_unsigned("0x10").value, 0U);
    EXPECT_TRUE(dp::parse_unsigned("0x10").ok);
    EXPECT_EQ(dp::parse_unsigned("+5").value, 5U);
}

TEST(parse_unsigned, wraps_around_at_a_minus_sign) {
    EXPECT_EQ(dp::parse_unsigned("-1").value, 0xFFFFFFFFU);
    EXPECT_TRUE(dp::parse_unsigned("-1").ok);
    EXPECT_EQ(dp::parse_unsigned("-4294967295").value, 1U);
    EXPECT_FALSE(dp::parse_unsigned("-4294967296").ok);
}

TEST(parse_unsigned, fails_without_digits) {
    for (const std::string_view text : {"", " ", "x", "-", "+", "+-1", "- 1", ".5", "--1"}) {
        const auto number = dp::parse_unsigned(text);
        EXPECT_FALSE(number.ok) << text;
        EXPECT_EQ(number.value, 0U) << text;
    }
}

TEST(parse_unsigned, fails_with_the_maximum_for_a_number_that_is_too_big) {
    EXPECT_EQ(dp::parse_unsigned("4294967295").value, 4294967295U);
    EXPECT_TRUE(dp::parse_unsigned("4294967295").ok);
    for (const std::string& text : {"4294967296"s, "99999999999999999999999"s, "-4294967296"s}) {
        const auto number = dp::parse_unsigned(text);
        EXPECT_FALSE(number.ok) << text;
        EXPECT_EQ(number.value, 4294967295U) << text;
    }
}

TEST(parse_unsigned, ignores_leading_zeros) {
    const std::string zeros(100'000, '0');
    EXPECT_EQ(dp::parse_unsigned(zeros + "4294967295").value, 4294967295U);
    EXPECT_TRUE(dp::parse_unsigned(zeros).ok);
}

TEST(parse_signed, fails_with_the_nearest_limit_outside_its_range) {
    EXPECT_EQ(dp::parse_signed("2147483647").value, INT32_MAX);
    EXPECT_TRUE(dp::parse_signed("2147483647").ok);
    EXPECT_EQ(dp::parse_signed("-2147483648").value, INT32_MIN);
    EXPECT_TRUE(dp::parse_signed("-2147483648").ok);
    EXPECT_EQ(dp::parse_signed("2147483648").value, INT32_MAX);
    EXPECT_FALSE(dp::parse_signed("2147483648").ok);
    EXPECT_EQ(dp::parse_signed("-2147483649").value, INT32_MIN);
    EXPECT_FALSE(dp::parse_signed("-2147483649").ok);
}

TEST(parse_unsigned, takes_a_hexadecimal_prefix_only_before_digits) {
    const auto base = number_base::hexadecimal;
    EXPECT_EQ(dp::parse_unsigned("0xfF", base).value, 255U);
    EXPECT_EQ(dp::parse_unsigned("0XAb", base).value, 171U);
    EXPECT_EQ(dp::parse_unsigned("ffffffff", base).value, 0xFFFFFFFFU);
    EXPECT_FALSE(dp::parse_unsigned("100000000", base).ok);
    EXPECT_FALSE(dp::parse_unsigned("0x", base).ok);
    EXPECT_FALSE(dp::parse_unsigned("0xg", base).ok);
    EXPECT_EQ(dp::parse_unsigned("00x1", base).value, 0U);
    EXPECT_TRUE(dp::parse_unsigned("00x1", base).ok);
}

TEST(parse_unsigned, does_not_read_past_the_end_of_the_view) {
    const std::string_view digits = "123456";
    EXPECT_EQ(dp::parse_unsigned(digits.substr(0, 3)).value, 123U);
    EXPECT_EQ(dp::parse_unsigned(std::string_view("0x1").substr(0, 2), number_base::hexadecimal).ok,
              false);
    EXPECT_EQ(dp::parse_unsigned(std::string_view()).ok, false);
}

TEST(parsed_number, agrees_with_a_stream_on_a_table) {
    const std::array texts{
        ""s,
        " "s,
        "0"s,
        "-0"s,
        "+0"s,
        "00"s,
        "007"s,
        "1 2"s,
        "1,000"s,
        "1.5"s,
        "1e3"s,
        "0x"s,
        "0x0"s,
        "-0x1"s,
        "+0Xff"s,
        "0x0x1"s,
        "00x1"s,
        "0 x1"s,
        "x1"s,
        "0xx1"s,
        "0x-1"s,
        "- 1"s,
        "+ 1"s,
        "+-1"s,
        "2147483647"s,
        "2147483648"s,
        "-2147483648"s,
        "-2147483649"s,
        "4294967294"s,
        "4294967295"s,
        "4294967296"s,
        "-4294967295"s,
        "-4294967296"s,
        "9223372036854775807"s,
        "9223372036854775808"s,
        "-9223372036854775809"s,
        "18446744073709551616"s,
        "340282366920938463463374607431768211456"s,
        "7fffffff"s,
        "80000000"s,
        "-80000000"s,
        "-80000001"s,
        "ffffffff"s,
        "-ffffffff"s,
        "100000000"s,
        "0x7FFFFFFF"s,
        "0xFFFFFFFF"s,
        "0x100000000"s,
        "1\0002"s,
        "\0001"s,
        " \t\n\v\f\r12"s,
        "\xA0"
        "1"s,
        "\xD9\xA1"s,
        "\xEF\xBC\x91"s,
        "1\xFF"s,
        "deadbeefcafe"s,
    };
    for (const std::string& text : texts) {
        agrees_with_stream(text);
    }
}

TEST(parsed_number, agrees_with_a_stream_on_every_short_text) {
    const std::string alphabet = " +-019afxXg.,\0"s;
    for (unsigned length = 1; length <= 4; ++length) {
        std::array<std::size_t, 4> at{};
        bool more = true;
        while (more) {
            std::string text;
            for (unsigned i = 0; i < length; ++i) {
                text += alphabet[at[i]];
            }
            if (!agrees_with_stream(text)) {
                return;
            }
            more = false;
            for (unsigned i = 0; i < length && !more; ++i) {
                at[i] = (at[i] + 1) % alphabet.size();
                more = at[i] != 0;
            }
        }
    }
}

TEST(parsed_number, agrees_with_a_stream_on_generated_texts) {
    // Digits are frequent enough that every second text is near the limits of a range.
    const std::string alphabet = "00112233445566778899abcdefABCDEFxX+- \t\n\0.,_gZ\x80\xFF"s;
    std::mt19937 random(20240229);
    for (int i = 0; i < test::rounds(200'000); ++i) {
        std::string text;
        const std::array leads{""s,  ""s,   ""s,    " "s,    "-"s,
                               "+"s, "0x"s, "-0x"s, "\t 0"s, "-429496729"s};
        text += leads[random() % leads.size()];
        const unsigned length = static_cast<unsigned>(random() % 13);
        const bool digits_only = random() % 2 == 0;
        for (unsigned k = 0; k < length; ++k) {
            text += digits_only ? static_cast<char>('0' + random() % 10)
                                : alphabet[random() % alphabet.size()];
        }
        if (!agrees_with_stream(text)) {
            return;
        }
    }
}
