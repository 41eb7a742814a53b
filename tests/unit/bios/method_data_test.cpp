#include "bios/method_data.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace {

using bytes = std::vector<unsigned char>;
using dp::ZEB_MethodData;
using testing::ElementsAre;
using testing::IsEmpty;

const bytes magic{0xDE, 0xAD, 0xC0, 0xDE};

bytes operator+(bytes a, const bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

bytes text(const std::string& s) {
    return {s.begin(), s.end()};
}

bytes pattern(std::size_t length) {
    bytes b(length);
    for (std::size_t i = 0; i < length; ++i) {
        b[i] = static_cast<unsigned char>(i * 7 + 3);
    }
    return b;
}

std::string name_of_length(std::size_t length) {
    std::string s(length, ' ');
    for (std::size_t i = 0; i < length; ++i) {
        s[i] = static_cast<char>('a' + i % 26);
    }
    return s;
}

// A frame with any numbers in its header.
bytes record(const std::string& name, std::uint32_t length, const bytes& rest) {
    const auto byte = [](std::size_t v) { return static_cast<unsigned char>(v); };
    return magic +
           bytes{0,
                 0,
                 0,
                 byte(16 + name.size()),
                 byte(length >> 24),
                 byte(length >> 16),
                 byte(length >> 8),
                 byte(length),
                 0,
                 0,
                 0,
                 byte(name.size())} +
           text(name) + rest + magic;
}

void expect_unreached(const bytes& buffer) {
    const ZEB_MethodData m(buffer);
    EXPECT_EQ(m.valid, 0);
    EXPECT_EQ(m.method, "");
    EXPECT_THAT(m.data, IsEmpty());
    EXPECT_THAT(m.padding, IsEmpty());
    EXPECT_EQ(m.buffer, buffer);
}

TEST(ZEB_MethodData, frames_name_and_payload) {
    const ZEB_MethodData m("a", {1, 2, 3});
    EXPECT_EQ(m.valid, 1);
    EXPECT_EQ(m.method, "a");
    EXPECT_THAT(m.data, ElementsAre(1, 2, 3));
    EXPECT_EQ(m.padding, text("paddingP"));
    const bytes framed =
        magic + bytes{0, 0, 0, 17, 0, 0, 0, 3, 0, 0, 0, 1, 'a', 1, 2, 3} + text("paddingP") + magic;
    EXPECT_EQ(m.buffer, framed);
    EXPECT_EQ(m.buffer.size(), 32U);
}

TEST(ZEB_MethodData, adds_no_padding_to_a_multiple_of_16_bytes) {
    const ZEB_MethodData m("name", pattern(8));
    EXPECT_THAT(m.padding, IsEmpty());
    EXPECT_EQ(m.buffer.size(), 32U);
}

TEST(ZEB_MethodData, frames_an_empty_name_and_payload) {
    const ZEB_MethodData m("", {});
    EXPECT_EQ(m.valid, 1);
    const bytes framed =
        magic + bytes{0, 0, 0, 16, 0, 0, 0, 0, 0, 0, 0, 0} + text("paddingPADDI") + magic;
    EXPECT_EQ(m.buffer, framed);
}

TEST(ZEB_MethodData, adds_at_most_15_bytes_of_padding) {
    const ZEB_MethodData m("", pattern(13));
    EXPECT_EQ(m.padding, text("paddingPADDINGp"));
    EXPECT_EQ(m.buffer.size(), 48U);
}

TEST(ZEB_MethodData, writes_big_endian_numbers) {
    const ZEB_MethodData m(name_of_length(255), pattern(0x12345));
    const bytes header(m.buffer.begin(), m.buffer.begin() + 16);
    const bytes expected = magic + bytes{0, 0, 0x01, 0x0F, 0x00, 0x01, 0x23, 0x45, 0, 0, 0, 255};
    EXPECT_EQ(header, expected);
}

TEST(ZEB_MethodData, cuts_a_name_to_the_length_that_one_byte_counts) {
    const ZEB_MethodData exact(name_of_length(256), {9});
    EXPECT_EQ(exact.method, name_of_length(256)) << "the field keeps the whole name";
    EXPECT_EQ(exact.buffer, ZEB_MethodData("", bytes(1, 9)).buffer);
    const ZEB_MethodData longer(name_of_length(259), {9});
    EXPECT_EQ(longer.valid, 1);
    EXPECT_EQ(longer.buffer, ZEB_MethodData(name_of_length(3), {9}).buffer);
    EXPECT_EQ(ZEB_MethodData(longer.buffer).method, name_of_length(3));
}

TEST(ZEB_MethodData, round_trips_every_length_around_the_padding) {
    for (std::size_t name_length = 0; name_length <= 300; ++name_length) {
        const std::string name = name_of_length(name_length);
        const std::string framed_name = name.substr(0, name_length & 0xFF);
        for (std::size_t data_length = 0; data_length <= 34; ++data_length) {
            const ZEB_MethodData built(name, pattern(data_length));
            ASSERT_EQ(built.valid, 1);
            ASSERT_EQ(built.buffer.size() % 16, 0U);
            ASSERT_LT(built.padding.size(), 16U);
            ASSERT_EQ(built.buffer.size(),
                      16 + framed_name.size() + data_length + built.padding.size() + 4);
            const ZEB_MethodData parsed(built.buffer);
            ASSERT_EQ(parsed.valid, 1);
            ASSERT_EQ(parsed.method, framed_name);
            ASSERT_EQ(parsed.data, pattern(data_length));
            ASSERT_EQ(parsed.buffer, built.buffer);
            ASSERT_THAT(parsed.padding, IsEmpty());
        }
    }
}

TEST(ZEB_MethodData, round_trips_every_byte_value) {
    const std::string name("\0\xff\xde\xad", 4);
    const ZEB_MethodData parsed(ZEB_MethodData(name, magic + magic).buffer);
    EXPECT_EQ(parsed.valid, 1);
    EXPECT_EQ(parsed.method, name);
    EXPECT_EQ(parsed.data, magic + magic);
}

TEST(ZEB_MethodData, round_trips_a_large_payload) {
    const ZEB_MethodData parsed(ZEB_MethodData("m", pattern(1'000'003)).buffer);
    EXPECT_EQ(parsed.valid, 1);
    EXPECT_EQ(parsed.data, pattern(1'000'003));
}

TEST(ZEB_MethodData, does_not_unpack_a_buffer_of_less_than_20_bytes) {
    const bytes whole = record("", 0, {});
    ASSERT_EQ(whole.size(), 20U);
    EXPECT_EQ(ZEB_MethodData(whole).valid, 1);
    expect_unreached({});
    expect_unreached(magic);
    bytes shorter = whole;
    shorter.erase(shorter.begin() + 8);
    ASSERT_EQ(shorter.size(), 19U);
    expect_unreached(shorter);
}

TEST(ZEB_MethodData, unpacks_nothing_with_a_wrong_magic_or_fifth_byte) {
    const bytes whole = ZEB_MethodData("name", pattern(8)).buffer;
    for (const std::size_t at : {0U, 1U, 2U, 3U, 4U, 28U, 29U, 30U, 31U}) {
        bytes wrong = whole;
        wrong[at] ^= 1;
        expect_unreached(wrong);
    }
}

TEST(ZEB_MethodData, ignores_offset_reserved_bytes_and_padding) {
    bytes odd = ZEB_MethodData("name", pattern(5)).buffer;
    for (const std::size_t at : {5U, 6U, 7U, 12U, 13U, 14U, 26U}) {
        odd[at] ^= 0xFF;
    }
    const ZEB_MethodData m(odd);
    EXPECT_EQ(m.valid, 1);
    EXPECT_EQ(m.method, "name");
    EXPECT_EQ(m.data, pattern(5));
}

TEST(ZEB_MethodData, unpacks_a_buffer_of_any_size) {
    const ZEB_MethodData m(record("ab", 1, {7}));
    EXPECT_EQ(m.valid, 1);
    EXPECT_THAT(m.data, ElementsAre(7));
}

TEST(ZEB_MethodData, unpacks_nothing_when_the_name_exceeds_the_buffer) {
    bytes b = record("", 0, {});
    b[15] = 4;  // up to the end of the trailer
    const ZEB_MethodData fits(b);
    EXPECT_EQ(fits.valid, 0);
    EXPECT_EQ(fits.method, "\xDE\xAD\xC0\xDE");
    b[15] = 5;
    expect_unreached(b);
    b[15] = 255;
    expect_unreached(b);
}

TEST(ZEB_MethodData, unpacks_only_the_name_when_the_payload_exceeds_the_buffer) {
    const bytes payload = pattern(8);
    for (const std::uint32_t length :
         {13U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFE8U, 0xFFFFFFECU, 0xFFFFFFF0U, 0xFFFFFFFFU}) {
        const ZEB_MethodData m(record("name", length, payload));
        EXPECT_EQ(m.valid, 0) << length;
        EXPECT_EQ(m.method, "name") << length;
        EXPECT_THAT(m.data, IsEmpty()) << length;
    }
}

TEST(ZEB_MethodData, is_invalid_when_the_payload_overlaps_the_trailer) {
    const bytes payload = pattern(8);
    for (std::uint32_t over = 1; over <= 4; ++over) {
        const ZEB_MethodData m(record("name", 8 + over, payload));
        EXPECT_EQ(m.valid, 0);
        EXPECT_EQ(m.method, "name");
        EXPECT_EQ(m.data, payload + bytes(magic.begin(),
                                          magic.begin() + static_cast<std::ptrdiff_t>(over)));
    }
    EXPECT_EQ(ZEB_MethodData(record("name", 8, payload)).valid, 1);
}

TEST(ZEB_MethodData, unpacks_every_truncation_without_error) {
    const bytes whole = ZEB_MethodData("name", pattern(40)).buffer;
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_EQ(ZEB_MethodData(cut).valid, 0) << size;
    }
}

TEST(ZEB_MethodData, unpacks_random_headers_without_error) {
    std::mt19937 random(7);
    for (int i = 0; i < 20000; ++i) {
        bytes b = magic + bytes(12 + random() % 40);
        for (std::size_t at = 5; at < b.size(); ++at) {
            b[at] = static_cast<unsigned char>(random() % 4 == 0 ? random() : random() % 24);
        }
        b[8] = b[9] = static_cast<unsigned char>(random() % 8 == 0 ? 0xFF : 0);
        b = b + magic;
        const ZEB_MethodData m(b);
        const std::uint64_t length = std::uint64_t{b[8]} << 24 | std::uint64_t{b[9]} << 16 |
                                     std::uint64_t{b[10]} << 8 | b[11];
        const std::uint64_t end = 16 + b[15] + length;
        ASSERT_EQ(m.valid, end + 4 <= b.size() ? 1 : 0);
        ASSERT_EQ(m.data.size(), end <= b.size() ? length : 0);
    }
}

}  // namespace
