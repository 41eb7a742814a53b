#include "platform/posix/efi_compressor.hpp"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <random>
#include <sstream>
#include <string_view>
#include <vector>

#include "platform/posix/efi_format.hpp"
#include "platform/sysipc/efi_decompressor.hpp"
#include "tests/support/recording_log.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/support/test_data.hpp"

namespace {

namespace efi = dp_platform::efi;
using dp_platform::efi_compress;

/// Compresses and decompresses; also checks that the header matches the image.
testing::AssertionResult round_trip(const std::string& text) {
    const std::string image = efi_compress(text);
    const auto number = [&](std::size_t at) {
        std::size_t value = 0;
        for (std::size_t i = 4; i-- > 0;) {
            value = value << 8U | static_cast<unsigned char>(image[at + i]);
        }
        return value;
    };
    if (image.size() <= efi::header_size || number(0) + efi::header_size != image.size() ||
        number(4) != text.size()) {
        return testing::AssertionFailure() << "header of " << text.size() << " bytes";
    }
    const test::recording_log log;
    std::istringstream in(image);
    const auto expanded = sysipc::efi_decompressor::decompress(in);
    if (!log.lines.empty()) {
        return testing::AssertionFailure() << log.lines[0].text << ", " << text.size() << " bytes";
    }
    if (std::string(expanded.begin(), expanded.end()) != text) {
        return testing::AssertionFailure() << "text of " << text.size() << " bytes differs";
    }
    return testing::AssertionSuccess();
}

std::string random_text(std::size_t size, unsigned letters, unsigned seed) {
    std::mt19937 random(seed);
    std::string text(size, '\0');
    for (char& byte : text) {
        byte = static_cast<char>(random() % letters);
    }
    return text;
}

std::string template_text_of_size(std::size_t size) {
    std::string text;
    std::mt19937 random(7);
    while (text.size() < size) {
        text += "id:Attribute" + std::to_string(random() % 100000) +
                "\x95"
                "cfg:Setup\x95grp:./Main/Advanced/Processor Configuration\x95type:1\x95num:2\x95"
                "chc:" +
                (random() % 2 == 0 ? "Disabled,Enabled" : "Auto,Manual,Off") + "\x95\xA7\n";
    }
    text.resize(size);
    return text;
}

TEST(efi_compress, round_trips_every_small_size) {
    for (std::size_t size = 0; size <= 600; ++size) {
        ASSERT_TRUE(round_trip(std::string(size, 'x')));
        ASSERT_TRUE(round_trip(random_text(size, 256, static_cast<unsigned>(size))));
        ASSERT_TRUE(round_trip(random_text(size, 2, static_cast<unsigned>(size))));
        ASSERT_TRUE(round_trip(template_text_of_size(size)));
    }
}

TEST(efi_compress, round_trips_every_byte_value) {
    std::string text;
    for (int value = 0; value < 256; ++value) {
        text += static_cast<char>(value);
        ASSERT_TRUE(round_trip(std::string(1, static_cast<char>(value))));
    }
    EXPECT_TRUE(round_trip(text));
    EXPECT_TRUE(round_trip(text + text));
}

TEST(efi_compress, round_trips_sizes_around_block_boundaries) {
    // With random bytes nearly every byte is one symbol.
    for (const std::size_t blocks : {1U, 2U, 3U}) {
        for (std::size_t size = blocks * 32768 - 3; size <= blocks * 32768 + 3; ++size) {
            ASSERT_TRUE(round_trip(random_text(size, 256, 1)));
        }
    }
    ASSERT_TRUE(round_trip(random_text(300'000, 256, 2)));
}

TEST(efi_compress, round_trips_patterns_of_every_period) {
    for (std::size_t period = 1; period <= 40; ++period) {
        const std::string pattern = random_text(period, 256, static_cast<unsigned>(period));
        std::string text;
        while (text.size() < 3000) {
            text += pattern;
        }
        ASSERT_TRUE(round_trip(text));
    }
}

TEST(efi_compress, round_trips_repeats_around_the_window_size) {
    for (std::size_t distance = efi::window_size - 3; distance <= efi::window_size + 3;
         ++distance) {
        const std::string text = random_text(distance, 256, 3);
        ASSERT_TRUE(round_trip(text + text.substr(0, 600)));
    }
}

TEST(efi_compress, finds_repeats_only_within_the_window) {
    const std::string text = random_text(efi::window_size, 256, 4);
    EXPECT_LT(efi_compress(text + text.substr(0, 256)).size(), efi_compress(text).size() + 10);
    const std::string longer = random_text(efi::window_size + 1, 256, 4);
    EXPECT_GT(efi_compress(longer + longer.substr(0, 256)).size(),
              efi_compress(longer).size() + 100);
}

TEST(efi_compress, limits_codes_to_16_bits) {
    // Each run of a letter is a byte and a match. Match lengths with Fibonacci frequencies give the
    // deepest trees. A letter recurs only outside the window, so that no other match is found.
    constexpr unsigned letters = 36;
    constexpr unsigned shortest = efi::window_size / letters + 10;
    std::vector<std::size_t> runs;
    std::size_t frequency = 1;
    std::size_t next = 1;
    for (std::size_t length = shortest; runs.size() + frequency < 16384; ++length) {
        ASSERT_LE(length, efi::max_match);
        runs.insert(runs.end(), frequency, length);
        const std::size_t sum = frequency + next;
        frequency = next;
        next = sum;
    }
    std::mt19937 random(5);
    std::shuffle(runs.begin(), runs.end(), random);
    std::string text;
    for (std::size_t i = 0; i < runs.size(); ++i) {
        text.append(runs[i] + 1, static_cast<char>('A' + i % letters));
    }
    EXPECT_TRUE(round_trip(text));
}

TEST(efi_compress, compresses_template_text_to_less_than_a_tenth) {
    const std::string text = template_text_of_size(100'000);
    EXPECT_TRUE(round_trip(text));
    EXPECT_LT(efi_compress(text).size(), text.size() / 10);
}

TEST(efi_compress, compresses_a_repeated_byte_to_less_than_a_thousandth) {
    const std::string text(1'000'000, '\0');
    EXPECT_TRUE(round_trip(text));
    EXPECT_LT(efi_compress(text).size(), 1000U);
}

TEST(efi_compress, expands_random_bytes_by_less_than_a_hundredth) {
    const std::string text = random_text(200'000, 256, 6);
    EXPECT_LT(efi_compress(text).size(), text.size() + text.size() / 100);
}

TEST(efi_compress, compresses_about_as_well_as_another_encoder) {
    for (const char* name : {"efi/records.bin", "efi/records.uefi"}) {
        if (const auto reason = test::missing_data(name); !reason.empty()) {
            GTEST_SKIP() << reason;
        }
    }
    const std::string text = test::read_file(test::data_file("efi/records.bin"));
    const std::string image = test::read_file(test::data_file("efi/records.uefi"));
    EXPECT_TRUE(round_trip(text));
    EXPECT_LT(efi_compress(text).size(), image.size() * 11 / 10);
}

// Any complete code is read back, whatever the lengths of its words: that they fit the frequencies
// shows only in the size.
TEST(efi_compress, gives_frequent_symbols_the_shorter_codes) {
    std::uint32_t state = 1;
    // The same numbers on every machine.
    const auto next = [&state] { return (state = state * 1664525U + 1013904223U) >> 8U; };
    const auto compressed_size = [&](auto symbol) {
        std::string text;
        for (int i = 0; i < 20'000; ++i) {
            text += static_cast<char>('0' + symbol(next()));
        }
        EXPECT_TRUE(round_trip(text));
        return efi_compress(text).size();
    };
    EXPECT_EQ(compressed_size([](std::uint32_t n) { return n % 3; }), 4999U);
    EXPECT_EQ(compressed_size([](std::uint32_t n) { return n % 40; }), 13721U);
    EXPECT_EQ(compressed_size([](std::uint32_t n) { return std::countr_zero(n | 1U << 20U); }),
              3337U);
}

TEST(efi_compress, reads_nothing_after_the_text) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    void* const memory =
        mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    char* const end = static_cast<char*>(memory) + page;
    ASSERT_EQ(mprotect(end, page, PROT_NONE), 0);
    const std::string text = "id:A id:A id:B";
    std::copy(text.begin(), text.end(), end - text.size());
    for (std::size_t size = 0; size <= text.size(); ++size) {
        const std::string_view last(end - size, size);
        EXPECT_EQ(efi_compress(last), efi_compress(std::string(last)));
    }
    munmap(memory, 2 * page);
}

TEST(efi_compress, writes_a_bit_stream_for_an_empty_text) {
    EXPECT_GT(efi_compress("").size(), efi::header_size);
}

TEST(efi_compress, refuses_a_text_beyond_the_size_limit) {
    const std::string text(std::size_t{efi::original_limit} + 1, '\0');
    EXPECT_EQ(efi_compress(text), "");
}

}  // namespace
