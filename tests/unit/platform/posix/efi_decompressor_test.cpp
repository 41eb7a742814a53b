#include "platform/sysipc/efi_decompressor.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <fstream>
#include <initializer_list>
#include <iostream>
#include <random>
#include <sstream>

#include "platform/posix/efi_compressor.hpp"
#include "platform/posix/efi_format.hpp"
#include "tests/support/recording_log.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/support/test_data.hpp"
#include "tests/unit/platform/allocations.hpp"

namespace {

namespace efi = dp_platform::efi;

using lines = std::vector<test::recording_log::line>;

const test::recording_log::line truncated{"ERR",
                                          " ***ERROR*** efi_decompressor: image is truncated"};
const test::recording_log::line corrupt{"ERR", " ***ERROR*** efi_decompressor: image is corrupt"};

std::string decompress(const std::string& data) {
    std::istringstream in(data);
    const auto text = sysipc::efi_decompressor::decompress(in);
    return {text.begin(), text.end()};
}

std::string binary(std::initializer_list<unsigned char> list) {
    return {list.begin(), list.end()};
}

void put_number(std::string& image, std::size_t at, std::uint32_t number) {
    for (unsigned i = 0; i < 4; ++i) {
        image[at + i] = static_cast<char>(number >> (8 * i) & 0xFFU);
    }
}

/// Builds an image bit by bit.
class image_builder {
  public:
    image_builder& put(std::uint32_t value, unsigned width) {
        for (unsigned i = width; i-- > 0;) {
            bits_.push_back((value >> i & 1U) != 0);
        }
        return *this;
    }

    /// The start of a block, with sets of one symbol for the lengths and the positions.
    image_builder& block(unsigned symbols) { return put(symbols, efi::block_size_bits); }
    image_builder& no_lengths() { return put(0, 5).put(0, 5); }
    image_builder& one_symbol(unsigned symbol) { return put(0, 9).put(symbol, 9); }
    image_builder& one_position(unsigned position) { return put(0, 4).put(position, 4); }

    /// Bytes 0 and 1 and a match of 3, with the codes 0, 10 and 11.
    image_builder& three_symbols() {
        // Lengths of lengths: runs (code 2) and the lengths 1 and 2 (codes 3 and 4).
        put(5, 5).put(0, 3).put(0, 3).put(2, 3).put(0, 2).put(2, 3).put(1, 3);
        // 2 -> 10, 3 -> 11, 4 -> 0. Lengths: 1, 2, then zeros up to 256, there 2.
        put(257, 9).put(3, 2).put(0, 1);
        put(2, 2).put(254 - 20, 9);
        return put(0, 1);
    }

    [[nodiscard]] std::string image(std::uint32_t original_size) const {
        std::string image(efi::header_size + (bits_.size() + 7) / 8, '\0');
        for (std::size_t i = 0; i < bits_.size(); ++i) {
            if (bits_[i]) {
                auto& byte = image[efi::header_size + i / 8];
                byte = static_cast<char>(static_cast<unsigned char>(byte) | 0x80U >> i % 8);
            }
        }
        put_number(image, 0, static_cast<std::uint32_t>(image.size() - efi::header_size));
        put_number(image, 4, original_size);
        return image;
    }

  private:
    std::vector<bool> bits_;
};

/// Text like that of a template.
std::string template_text(unsigned records) {
    std::string text;
    for (unsigned i = 0; i < records; ++i) {
        text += "id:Attribute" + std::to_string(i * 7919 % 1000) +
                "\x95"
                "cfg:Setup\x95type:1\x95num:2\x95"
                "chc:Disabled,Enabled\x95\xA7\n";
    }
    return text;
}

void expect_corrupt(const std::string& image) {
    test::recording_log log;
    EXPECT_EQ(decompress(image), "");
    EXPECT_EQ(log.lines, lines{corrupt});
}

TEST(efi_decompressor, expands_an_image_of_one_byte) {
    EXPECT_EQ(decompress(
                  binary({0x07, 0, 0, 0, 0x01, 0, 0, 0, 0x00, 0x01, 0x00, 0x00, 0x04, 0x10, 0x00})),
              "A");
}

TEST(efi_decompressor, expands_an_image_with_one_match_length_and_one_position) {
    EXPECT_EQ(decompress(binary({0x0A, 0, 0, 0, 0x20, 0, 0, 0, 0x00, 0x02, 0x20, 0x04, 0x31, 0xD1,
                                 0x36, 0x53, 0x40, 0x10})),
              std::string(32, 'a'));
}

TEST(efi_decompressor, expands_an_image_of_template_text) {
    const std::string image = binary(
        {0x52, 0x00, 0x00, 0x00, 0xAE, 0x00, 0x00, 0x00, 0x00, 0x46, 0x4B, 0x73, 0x70, 0xCC, 0x2B,
         0xB8, 0x1A, 0xA2, 0x54, 0xD5, 0x10, 0xA6, 0x24, 0x45, 0xA3, 0x7E, 0x1F, 0x07, 0xEF, 0x91,
         0xB5, 0x07, 0x01, 0xF5, 0xE7, 0x11, 0x07, 0x05, 0x52, 0x1C, 0x00, 0x40, 0x2F, 0x70, 0x50,
         0x66, 0x96, 0x1B, 0x89, 0x87, 0x2C, 0xC2, 0xF2, 0x45, 0x8B, 0x27, 0x31, 0x20, 0x99, 0xA0,
         0xBB, 0x84, 0xEC, 0x3A, 0x08, 0x52, 0xFE, 0x30, 0xC7, 0x62, 0x74, 0xB5, 0x43, 0xD6, 0xDD,
         0x49, 0xDF, 0x37, 0x2B, 0xC9, 0x3C, 0xFB, 0xFE, 0xAD, 0x5D, 0xEB, 0x31, 0xD7, 0xEE, 0x00});
    std::string text;
    for (const char* name : {"BootMode", "QuietBoot", "NumLock"}) {
        text += std::string("id:") + name +
                "\x95"
                "cfg:Setup\x95type:1\x95num:2\x95"
                "chc:Disabled,Enabled\x95\xA7\n";
    }
    EXPECT_EQ(decompress(image), text);
}

TEST(efi_decompressor, expands_images_of_another_encoder) {
    if (const auto reason = test::missing_data("efi/records.uefi"); !reason.empty()) {
        GTEST_SKIP() << reason;
    }
    const std::string folder = test::data_file("efi/");
    test::recording_log log;
    for (const char* name : {"empty", "one-byte", "random-20k", "records", "zeros-100k"}) {
        const std::string plain = test::read_file(folder + name + ".bin");
        std::ifstream in(folder + name + ".uefi", std::ios::binary);
        const auto text = sysipc::efi_decompressor::decompress(in);
        EXPECT_EQ(std::string(text.begin(), text.end()), plain) << name;
    }
    EXPECT_TRUE(log.lines.empty());
}

TEST(efi_decompressor, reads_from_the_position_of_the_stream) {
    std::istringstream in("skipped" + dp_platform::efi_compress("plain text"));
    in.ignore(7);
    const auto text = sysipc::efi_decompressor::decompress(in);
    EXPECT_EQ(std::string(text.begin(), text.end()), "plain text");
}

TEST(efi_decompressor, allows_a_stream_without_an_image_to_be_read_again) {
    std::istringstream in("0 0 t set A.B \"1\" \"\"\n");
    EXPECT_TRUE(sysipc::efi_decompressor::decompress(in).empty());
    in.clear();
    in.seekg(0);
    std::stringstream copy;
    copy << in.rdbuf();
    EXPECT_EQ(copy.str(), "0 0 t set A.B \"1\" \"\"\n");
}

TEST(efi_decompressor, returns_nothing_for_text_without_an_error) {
    test::recording_log log;
    for (const std::string& text :
         {std::string(), std::string("1234567"), std::string("# comment\n"),
          std::string("0 0 <cim-1> set Setup.BootMode \"UEFI\" \"\"\n"), std::string(1000, '\t'),
          std::string(1000, '\n'), std::string("\xc3\xa9\xc3\xa9\xc3\xa9\xc3\xa9\n"),
          template_text(10)}) {
        EXPECT_EQ(decompress(text), "");
    }
    EXPECT_TRUE(log.lines.empty());
}

TEST(efi_decompressor, expands_an_empty_image_without_an_error) {
    test::recording_log log;
    EXPECT_EQ(decompress(std::string(8, '\0')), "");
    EXPECT_EQ(decompress(std::string(16, '\0')), "");
    EXPECT_EQ(decompress(dp_platform::efi_compress("")), "");
    EXPECT_TRUE(log.lines.empty());
}

TEST(efi_decompressor, ignores_bytes_after_the_image) {
    test::recording_log log;
    const std::string text = template_text(20);
    const std::string image = dp_platform::efi_compress(text);
    for (const std::size_t more : {1U, 7U, 8U, 9U, 64U, 70000U}) {
        EXPECT_EQ(decompress(image + std::string(more, '\xFF')), text);
    }
    EXPECT_TRUE(log.lines.empty());
}

TEST(efi_decompressor, accepts_a_compressed_size_beyond_the_bit_stream) {
    const std::string text = template_text(20);
    std::string image = dp_platform::efi_compress(text) + std::string(20, '\0');
    put_number(image, 0, static_cast<std::uint32_t>(image.size() - efi::header_size));
    EXPECT_EQ(decompress(image), text);
}

TEST(efi_decompressor, does_not_use_bits_after_the_compressed_size) {
    std::string image = dp_platform::efi_compress(template_text(20));
    put_number(image, 0, static_cast<std::uint32_t>(image.size() - efi::header_size - 1));
    expect_corrupt(image);
}

TEST(efi_decompressor, reports_every_truncation) {
    const std::string image = dp_platform::efi_compress(template_text(5));
    for (std::size_t length = 0; length < image.size(); ++length) {
        test::recording_log log;
        EXPECT_EQ(decompress(image.substr(0, length)), "") << length;
        if (length < efi::header_size) {
            EXPECT_TRUE(log.lines.empty()) << length;
        } else {
            EXPECT_EQ(log.lines, lines{truncated}) << length;
        }
    }
}

TEST(efi_decompressor, reports_every_truncation_with_a_matching_header_as_corrupt) {
    const std::string whole = dp_platform::efi_compress(template_text(5));
    for (std::size_t length = efi::header_size; length < whole.size(); ++length) {
        std::string image = whole.substr(0, length);
        put_number(image, 0, static_cast<std::uint32_t>(length - efi::header_size));
        expect_corrupt(image);
    }
}

TEST(efi_decompressor, returns_the_stated_size_or_an_error_for_every_flipped_bit) {
    const std::string text = template_text(5);
    const std::string image = dp_platform::efi_compress(text);
    for (std::size_t bit = 0; bit < image.size() * 8; ++bit) {
        std::string flipped = image;
        flipped[bit / 8] =
            static_cast<char>(static_cast<unsigned char>(flipped[bit / 8]) ^ 1U << bit % 8);
        test::recording_log log;
        const std::string result = decompress(flipped);
        if (result.empty()) {
            // Data whose compressed size exceeds the limit is not an image.
            const bool no_image = bit >= 27 && bit < 32;
            EXPECT_EQ(log.lines.size(), no_image ? 0U : 1U) << bit;
        } else {
            EXPECT_EQ(result.size(), text.size()) << bit;
            EXPECT_TRUE(log.lines.empty()) << bit;
        }
    }
}

TEST(efi_decompressor, reports_every_changed_original_size_as_corrupt) {
    const std::string text = template_text(2);
    const std::string image = dp_platform::efi_compress(text);
    for (std::uint32_t size = 1; size < text.size() + 600; ++size) {
        if (size != text.size()) {
            std::string changed = image;
            put_number(changed, 4, size);
            expect_corrupt(changed);
        }
    }
}

TEST(efi_decompressor, returns_the_stated_size_or_nothing_for_random_streams) {
    std::mt19937 random(20);
    for (int i = 0; i < 20000; ++i) {
        std::string image(efi::header_size + random() % 200, '\0');
        for (char& byte : image) {
            byte = static_cast<char>(random() & 0xFFU);
        }
        const auto size = static_cast<std::uint32_t>(1 + random() % 5000);
        put_number(image, 0, static_cast<std::uint32_t>(image.size() - efi::header_size));
        put_number(image, 4, size);
        const std::string result = decompress(image);
        ASSERT_TRUE(result.empty() || result.size() == size);
    }
}

TEST(efi_decompressor, returns_the_stated_size_or_nothing_for_mangled_images) {
    std::mt19937 random(21);
    const std::string text = template_text(200);
    const std::string image = dp_platform::efi_compress(text);
    for (int i = 0; i < 5000; ++i) {
        std::string mangled = image;
        for (auto changes = 1 + random() % 4; changes != 0; --changes) {
            const std::size_t at = efi::header_size + random() % (image.size() - efi::header_size);
            mangled[at] = static_cast<char>(random() & 0xFFU);
        }
        const std::string result = decompress(mangled);
        ASSERT_TRUE(result.empty() || result.size() == text.size());
    }
}

TEST(efi_decompressor, refuses_a_huge_original_size) {
    std::string image(20, '\x5A');
    put_number(image, 0, 12);
    for (const std::uint32_t size : {efi::original_limit + 1, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        put_number(image, 4, size);
        test::recording_log log;
        const test::allocation_watch watch;
        EXPECT_EQ(decompress(image), "");
        EXPECT_LE(test::allocation_watch::largest(), 4096U);
        EXPECT_EQ(log.lines, (lines{{"ERR",
                                     " ***ERROR*** efi_decompressor: image "
                                     "states an original size beyond the limit"}}));
    }
}

TEST(efi_decompressor, allocates_memory_for_the_text_not_for_the_stated_size) {
    std::string image = dp_platform::efi_compress("short text");
    put_number(image, 4, efi::original_limit);
    {
        const test::allocation_watch watch;
        expect_corrupt(image);
        EXPECT_LE(test::allocation_watch::largest(), 100'000U);
    }
    put_number(image, 0, efi::compressed_limit - 1);
    test::recording_log log;
    const test::allocation_watch watch;
    EXPECT_EQ(decompress(image), "");
    EXPECT_LE(test::allocation_watch::largest(), 100'000U);
    EXPECT_EQ(log.lines, lines{truncated});
}

TEST(efi_decompressor, reports_a_lack_of_memory) {
    const std::string image = dp_platform::efi_compress(std::string(3'000'000, 'x'));
    test::recording_log log;
    std::istringstream in(image);
    std::vector<unsigned char> text;
    {
        const test::allocation_watch watch(1'000'000);
        text = sysipc::efi_decompressor::decompress(in);
    }
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(log.lines,
              (lines{{"ERR", " ***ERROR*** efi_decompressor: not enough memory for the image"}}));
}

TEST(efi_decompressor, returns_nothing_without_memory_even_for_the_report) {
    test::recording_log log;
    std::istringstream in(dp_platform::efi_compress(template_text(5)));
    std::vector<unsigned char> text;
    {
        const test::allocation_watch watch(16);
        text = sysipc::efi_decompressor::decompress(in);
    }
    EXPECT_TRUE(text.empty());
    EXPECT_TRUE(log.lines.empty());
}

TEST(efi_decompressor, logs_nothing_when_the_mask_disables_errors) {
    test::recording_log log(0xEFFFFFFF);
    const std::string image = dp_platform::efi_compress(template_text(5));
    EXPECT_EQ(decompress(image.substr(0, 20)), "");
    EXPECT_TRUE(log.lines.empty());
}

TEST(efi_decompressor, returns_nothing_for_a_stream_that_cannot_be_read) {
    std::ifstream missing("/nonexistent/file");
    EXPECT_TRUE(sysipc::efi_decompressor::decompress(missing).empty());
    std::ifstream folder("/");
    EXPECT_TRUE(sysipc::efi_decompressor::decompress(folder).empty());
    std::istream without_buffer(nullptr);
    EXPECT_TRUE(sysipc::efi_decompressor::decompress(without_buffer).empty());
}

TEST(efi_decompressor, does_not_throw_for_a_stream_that_throws) {
    std::istringstream in("short");
    in.exceptions(std::ios::eofbit | std::ios::failbit | std::ios::badbit);
    EXPECT_TRUE(sysipc::efi_decompressor::decompress(in).empty());
}

TEST(efi_decompressor, reads_a_block_size_of_0_as_65536_symbols) {
    image_builder builder;
    builder.block(0).no_lengths().one_symbol('x').one_position(0);
    EXPECT_EQ(decompress(builder.image(65536)), std::string(65536, 'x'));
    expect_corrupt(builder.image(65535));
    expect_corrupt(builder.image(65537));
}

TEST(efi_decompressor, expands_codes_without_bits_up_to_the_size_limit) {
    image_builder builder;
    builder.block(1).no_lengths().one_symbol('x').one_position(0);
    // 16 blocks of 65536 matches of 256 bytes.
    for (int i = 0; i < 16; ++i) {
        builder.block(i == 0 ? 65535 : 0).no_lengths().one_symbol(509).one_position(0);
    }
    builder.block(1).no_lengths().one_symbol(508).one_position(0);
    const std::string image = builder.image(efi::original_limit);
    std::istringstream in(image);
    const auto text = sysipc::efi_decompressor::decompress(in);
    ASSERT_EQ(text.size(), efi::original_limit);
    EXPECT_EQ(text.front(), 'x');
    EXPECT_EQ(text.back(), 'x');
}

TEST(efi_decompressor, refuses_matches_before_the_first_byte) {
    // The bytes 0 and 1, then a match of 3 bytes at the distances 1, 2 and 3.
    for (unsigned position = 0; position < 3; ++position) {
        image_builder builder;
        builder.block(3).three_symbols();
        if (position < 2) {
            builder.one_position(position);
        } else {
            builder.one_position(2);
        }
        builder.put(0, 1).put(2, 2).put(3, 2);
        if (position == 2) {
            builder.put(0, 1);
            expect_corrupt(builder.image(5));
        } else {
            EXPECT_EQ(decompress(builder.image(5)),
                      position == 0 ? binary({0, 1, 1, 1, 1}) : binary({0, 1, 0, 1, 0}));
        }
    }
}

TEST(efi_decompressor, refuses_a_match_as_first_symbol) {
    image_builder builder;
    builder.block(1).no_lengths().one_symbol(256).one_position(0);
    expect_corrupt(builder.image(3));
}

TEST(efi_decompressor, decodes_the_distances_of_every_position_code) {
    // Text of different byte pairs, so that a wrong distance is detected.
    std::string text;
    for (unsigned i = 0; i < 8192; ++i) {
        text += static_cast<char>(i >> 8U);
        text += static_cast<char>(i & 0xFFU);
    }
    for (const std::size_t distance : {1U, 2U, 3U, 4U, 5U, 8U, 9U, 16U, 17U, 255U, 256U, 257U,
                                       4095U, 4096U, 4097U, 8190U, 8191U, 8192U}) {
        std::string longer = text;
        for (int i = 0; i < 40; ++i) {
            longer += longer[longer.size() - distance];
        }
        EXPECT_EQ(decompress(dp_platform::efi_compress(longer)), longer) << distance;
    }
}

TEST(efi_decompressor, refuses_a_single_symbol_outside_the_alphabet) {
    expect_corrupt(
        image_builder().block(1).put(0, 5).put(19, 5).one_symbol('x').one_position(0).image(1));
    expect_corrupt(image_builder().block(1).no_lengths().one_symbol(510).one_position(0).image(1));
    expect_corrupt(image_builder().block(1).no_lengths().one_symbol('x').one_position(14).image(1));
    EXPECT_EQ(
        decompress(image_builder().block(1).no_lengths().one_symbol('x').one_position(13).image(1)),
        "x");
}

TEST(efi_decompressor, refuses_more_lengths_than_symbols) {
    expect_corrupt(image_builder().block(1).put(20, 5).put(0, 32).put(0, 32).image(1));
    expect_corrupt(image_builder().block(1).put(0, 5).put(3, 5).put(511, 9).put(0, 32).image(1));
    expect_corrupt(
        image_builder().block(1).no_lengths().one_symbol('x').put(15, 4).put(0, 32).image(1));
}

TEST(efi_decompressor, refuses_a_run_of_lengths_beyond_the_alphabet) {
    // Every length is coded as a run of 20 or more zeros.
    expect_corrupt(
        image_builder().block(1).put(0, 5).put(2, 5).put(510, 9).put(511, 9).one_position(0).image(
            1));
}

TEST(efi_decompressor, refuses_an_incomplete_code) {
    // Lengths of lengths: one code of one bit; three codes of one bit.
    expect_corrupt(image_builder().block(1).put(1, 5).put(1, 3).put(0, 32).image(1));
    expect_corrupt(
        image_builder().block(1).put(3, 5).put(1, 3).put(1, 3).put(1, 3).put(0, 32).image(1));
    // Positions: the same.
    expect_corrupt(
        image_builder().block(1).no_lengths().one_symbol('x').put(1, 4).put(1, 3).image(1));
    expect_corrupt(image_builder()
                       .block(1)
                       .no_lengths()
                       .one_symbol('x')
                       .put(3, 4)
                       .put(1, 3)
                       .put(1, 3)
                       .put(1, 3)
                       .image(1));
    // Symbols: all of length 16.
    expect_corrupt(
        image_builder().block(1).put(0, 5).put(18, 5).put(510, 9).one_position(0).image(1));
}

TEST(efi_decompressor, refuses_a_set_without_codes_only_when_it_is_used) {
    const auto with_empty_positions = [] {
        image_builder builder;
        return builder.block(3).three_symbols().put(1, 4).put(0, 3);
    };
    EXPECT_EQ(decompress(with_empty_positions().put(0, 1).put(2, 2).put(0, 1).image(3)),
              binary({0, 1, 0}));
    expect_corrupt(with_empty_positions().put(0, 1).put(2, 2).put(3, 2).image(5));
    // Symbols without any code.
    expect_corrupt(image_builder().block(1).put(0, 5).put(0, 5).put(5, 9).one_position(0).image(1));
}

TEST(efi_decompressor, refuses_a_code_length_beyond_16) {
    expect_corrupt(
        image_builder().block(1).put(1, 5).put(7, 3).put(0xFFFFFFFF, 32).put(0, 32).image(1));
}

TEST(efi_decompressor, decodes_codes_of_16_bits) {
    // Lengths 1, 2, ... 15, 16, 16 for the bytes 0 to 16: the lengths' own set has 16 codes of
    // 4 bits for the lengths 1 to 16.
    image_builder builder;
    builder.block(17).put(19, 5);
    builder.put(0, 3).put(0, 3).put(0, 3).put(0, 2);
    for (int i = 0; i < 16; ++i) {
        builder.put(4, 3);
    }
    builder.put(17, 9);
    for (unsigned length = 1; length <= 16; ++length) {
        builder.put(length - 1, 4);
    }
    builder.put(15, 4).one_position(0);
    std::string text;
    for (unsigned byte = 0; byte < 17; ++byte) {
        const unsigned length = std::min(byte + 1, 16U);
        builder.put(byte == 16 ? 0xFFFF : (1U << length) - 2, length);
        text += static_cast<char>(byte);
    }
    EXPECT_EQ(decompress(builder.image(17)), text);
}

}  // namespace
