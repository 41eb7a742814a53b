#include "bios/template_info.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <fstream>
#include <iomanip>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

#include "tests/support/memory_file.hpp"
#include "tests/support/reference_template_reader.hpp"
#include "tests/support/template_records.hpp"
#include "tests/support/test_platform.hpp"

namespace {

using namespace std::string_literals;
using test::fields;
using test::item;
using test::record;

static_assert(std::is_same_v<dp::template_info, template_info>);
static_assert(std::is_nothrow_move_constructible_v<template_info>, "vectors of entries grow by it");

std::vector<template_info> read(const std::string& bytes, const std::string& cfg = "") {
    static const test::memory_file file;
    std::ifstream in = file.open_with(bytes);
    EXPECT_TRUE(in.is_open());
    std::vector<template_info> entries;
    EXPECT_EQ(template_info::read_settings(in, entries, cfg), 0);
    return entries;
}

std::vector<template_info> read_with_streams(const std::string& bytes, const std::string& cfg) {
    std::istringstream in(bytes);
    std::vector<template_info> entries;
    test::reference_read_template(in, entries, cfg);
    return entries;
}

template_info parsed(const std::string& bytes) {
    template_info info;
    info.parse_setting_info(bytes);
    return info;
}

// A template record of `length` bytes without the end byte.
std::string record_of_length(std::size_t length, const std::string& id = "long") {
    const std::string head = item("id", id) + "dsc:";
    return head + std::string(length - head.size() - 1, 'x') + '\x95';
}

void expect_same_as_streams(const std::string& bytes) {
    for (const char* cfg : {"", "Main"}) {
        const auto entries = read(bytes, cfg);
        const auto expected = read_with_streams(bytes, cfg);
        ASSERT_EQ(entries.size(), expected.size()) << testing::PrintToString(bytes);
        for (std::size_t i = 0; i < entries.size(); ++i) {
            ASSERT_EQ(fields(entries[i]), fields(expected[i])) << testing::PrintToString(bytes);
        }
    }
}

TEST(template_info, is_empty_and_zero_at_first) {
    const template_info info;
    EXPECT_EQ(info.id, "");
    EXPECT_EQ(info.chc, "");
    EXPECT_EQ(info.type, 0);
    EXPECT_EQ(info.num, 0U);
    EXPECT_EQ(info.leading_words[0], 0U);
    EXPECT_EQ(info.leading_words[1], 0U);
}

TEST(parse_setting_info, fills_only_the_fields_of_a_numeric_attribute) {
    const auto entries = read(record({item("id", "A"), item("type", "3"), item("min", "1"),
                                      item("max", "10"), item("stp", "1")}));
    ASSERT_EQ(entries.size(), 1U);
    template_info expected;
    expected.id = "A";
    expected.type = 3;
    expected.min = 1;
    expected.max = 10;
    expected.stp = 1;
    EXPECT_EQ(fields(entries[0]), fields(expected));
}

TEST(parse_setting_info, fills_the_field_of_every_key) {
    const auto info = parsed(
        item("id", "t1") + item("spif", "t2") + item("grif", "t3") + item("cfg", "t4") +
        item("cfgname", "t5") + item("cfgsetn", "t6") + item("grp", "t7") + item("gspif", "t8") +
        item("ggrif", "t9") + item("mri", "t10") + item("dsc", "t11") + item("fds", "t12") +
        item("type", "13") + item("flg", "14") + item("mni", "15") + item("mxi", "16") +
        item("dft", "t17") + item("mfg", "t18") + item("dfa", "t19") + item("rec", "t20") +
        item("min", "21") + item("max", "22") + item("stp", "23") + item("minc", "24") +
        item("maxc", "25") + item("reg", "t26") + item("num", "27") + item("chc", "t28"));
    EXPECT_EQ(info.id, "t1");
    EXPECT_EQ(info.spif, "t2");
    EXPECT_EQ(info.grif, "t3");
    EXPECT_EQ(info.cfg, "t4");
    EXPECT_EQ(info.cfgname, "t5");
    EXPECT_EQ(info.cfgsetn, "t6");
    EXPECT_EQ(info.grp, "t7");
    EXPECT_EQ(info.gspif, "t8");
    EXPECT_EQ(info.ggrif, "t9");
    EXPECT_EQ(info.mri, "t10");
    EXPECT_EQ(info.dsc, "t11");
    EXPECT_EQ(info.fds, "t12");
    EXPECT_EQ(info.type, 13);
    EXPECT_EQ(info.flg, 0x14U);
    EXPECT_EQ(info.mni, 15U);
    EXPECT_EQ(info.mxi, 16U);
    EXPECT_EQ(info.dft, "t17");
    EXPECT_EQ(info.mfg, "t18");
    EXPECT_EQ(info.dfa, "t19");
    EXPECT_EQ(info.rec, "t20");
    EXPECT_EQ(info.min, 21U);
    EXPECT_EQ(info.max, 22U);
    EXPECT_EQ(info.stp, 23U);
    EXPECT_EQ(info.minc, 24U);
    EXPECT_EQ(info.maxc, 25U);
    EXPECT_EQ(info.reg, "t26");
    EXPECT_EQ(info.num, 27U);
    EXPECT_EQ(info.chc, "t28");
    EXPECT_EQ(info.leading_words[0], 0U);
    EXPECT_EQ(info.leading_words[1], 0U);
}

TEST(parse_setting_info, stores_the_fields_of_other_types) {
    const auto info = parsed(item("type", "5") + item("min", "2") + item("maxc", "9") +
                             item("chc", "x,y") + item("rec", "r"));
    EXPECT_EQ(info.min, 2U);
    EXPECT_EQ(info.maxc, 9U);
    EXPECT_EQ(info.chc, "x,y");
    EXPECT_EQ(info.rec, "r");
}

TEST(parse_setting_info, reads_flags_as_hexadecimal_and_other_numbers_as_decimal) {
    EXPECT_EQ(parsed(item("flg", "100000")).flg, 1'048'576U);
    EXPECT_EQ(parsed(item("flg", "fFfFfFfF")).flg, 0xFFFFFFFFU);
    EXPECT_EQ(parsed(item("flg", "0x20")).flg, 0x20U);
    EXPECT_EQ(parsed(item("min", "100000")).min, 100'000U);
    EXPECT_EQ(parsed(item("min", "0x20")).min, 0U);
}

TEST(parse_setting_info, skips_unknown_keys) {
    EXPECT_EQ(fields(parsed(item("id", "A") + item("xyz", "1") + item("grp", "G"))),
              fields(parsed(item("id", "A") + item("grp", "G"))));
    for (const auto& key :
         {""s, "ID"s, "i"s, "idd"s, " id"s, "id "s, "id\0"s, "\0id"s, "cfgnames"s, "cfgnam"s,
          "dftt"s, std::string(5000, 'k'), "\nid"s, "\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s}) {
        EXPECT_EQ(fields(parsed(item(key, "1"))), fields(template_info{})) << key;
    }
}

TEST(parse_setting_info, uses_the_later_of_two_equal_keys) {
    const auto info =
        parsed(item("dft", "first") + item("num", "1") + item("dft", "") + item("num", "x"));
    EXPECT_EQ(info.dft, "");
    EXPECT_EQ(info.num, 0U);
}

TEST(parse_setting_info, keeps_fields_that_a_second_record_lacks) {
    auto info = parsed(item("id", "A") + item("grp", "G"));
    info.parse_setting_info(item("id", "B"));
    EXPECT_EQ(info.id, "B");
    EXPECT_EQ(info.grp, "G");
}

TEST(parse_setting_info, accepts_any_byte_but_the_end_byte_in_values) {
    const auto info = parsed(item("dsc", "a:b\nc\0d\xA7\xFF"s) + item("dft", ":"));
    EXPECT_EQ(info.dsc, "a:b\nc\0d\xA7\xFF"s);
    EXPECT_EQ(info.dft, ":");
}

TEST(parse_setting_info, takes_an_item_without_colon_as_part_of_the_next_key) {
    const auto info = parsed("id\x95" + item("grp", "G") + item("dsc", "D"));
    EXPECT_EQ(info.id, "");
    EXPECT_EQ(info.grp, "");
    EXPECT_EQ(info.dsc, "D");
}

TEST(parse_setting_info, stores_a_last_item_without_end_byte) {
    EXPECT_EQ(parsed(item("id", "A") + "grp:G").grp, "G");
}

TEST(parse_setting_info, drops_a_last_item_without_end_byte_and_value) {
    auto info = parsed(item("id", "A"));
    info.parse_setting_info("id:");
    EXPECT_EQ(info.id, "A");
    info.parse_setting_info("id:\x95");
    EXPECT_EQ(info.id, "");
}

TEST(parse_setting_info, ignores_trailing_text_without_colon) {
    EXPECT_EQ(fields(parsed(item("id", "A") + "grp")), fields(parsed(item("id", "A"))));
    EXPECT_EQ(fields(parsed("grp\x95")), fields(template_info{}));
    EXPECT_EQ(fields(parsed("")), fields(template_info{}));
}

TEST(parse_setting_info, stores_0_for_text_in_a_number_field) {
    const auto info = parsed(item("type", "three") + item("flg", "xyz") + item("min", "") +
                             item("max", "-") + item("stp", "+") + item("num", " \t "));
    EXPECT_EQ(fields(info), fields(template_info{}));
}

TEST(parse_setting_info, reads_numbers_as_a_stream_does) {
    EXPECT_EQ(parsed(item("min", " \t\n7 apples")).min, 7U);
    EXPECT_EQ(parsed(item("min", "4294967295")).min, 4'294'967'295U);
    EXPECT_EQ(parsed(item("min", "4294967296")).min, 4'294'967'295U);
    EXPECT_EQ(parsed(item("min", "-1")).min, 4'294'967'295U);
    EXPECT_EQ(parsed(item("type", "-1")).type, -1);
    EXPECT_EQ(parsed(item("type", "4294967295")).type, -1);
}

TEST(a2i, reads_the_number_at_the_start) {
    EXPECT_EQ(template_info::a2i("12", false), 12U);
    EXPECT_EQ(template_info::a2i("12", true), 18U);
    EXPECT_EQ(template_info::a2i(" 7x", false), 7U);
    EXPECT_EQ(template_info::a2i("ffg", true), 255U);
    EXPECT_EQ(template_info::a2i("ff", false), 0U);
    EXPECT_EQ(template_info::a2i("", false), 0U);
    EXPECT_EQ(template_info::a2i("word", true), 0U);
    EXPECT_EQ(template_info::a2i("99999999999", false), 4'294'967'295U);
}

TEST(read_settings, appends_every_record_in_order) {
    const std::string path = test::root() + "/template.txt";
    test::write_file(path, record({item("id", "A")}) + record({item("id", "B")}));
    std::ifstream in(path, std::ios::binary);
    std::vector<template_info> entries(1);
    EXPECT_EQ(template_info::read_settings(in, entries, ""), 0);
    ASSERT_EQ(entries.size(), 3U);
    EXPECT_EQ(entries[1].id, "A");
    EXPECT_EQ(entries[2].id, "B");
}

TEST(read_settings, starts_at_the_position_of_the_stream) {
    const std::string path = test::root() + "/template.txt";
    test::write_file(path, "1 2 3\n" + record({item("id", "A")}));
    std::ifstream in(path, std::ios::binary);
    std::string line;
    std::getline(in, line);
    std::vector<template_info> entries;
    template_info::read_settings(in, entries, "");
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].id, "A");
}

TEST(read_settings, reads_only_records_that_match_the_filter) {
    const std::string bytes = record({item("id", "A"), item("cfg", "Main")}) +
                              record({item("id", "B"), item("cfg", "Main2")}) +
                              record({item("id", "C"), item("cfg", "2Main")}) +
                              record({item("id", "D")}) +
                              record({item("cfg", "Main"), item("id", "E")});
    const auto entries = read(bytes, "Main");
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].id, "A");
    EXPECT_EQ(entries[1].id, "E");
    EXPECT_EQ(read(bytes).size(), 5U);
    EXPECT_TRUE(read(bytes, "main").empty());
}

TEST(read_settings, searches_the_filter_in_the_bytes_of_a_record) {
    // The filter text may also be the end of a longer key or part of a value.
    EXPECT_EQ(read(record({item("xcfg", "Main")}), "Main").size(), 1U);
    EXPECT_EQ(read(record({item("dsc", "see cfg:Main")}), "Main").size(), 1U);
    // It includes the item end byte.
    EXPECT_TRUE(read("cfg:Main\xA7\n", "Main").empty());
    EXPECT_EQ(read("cfg:Main\xA7\n").size(), 1U);
}

TEST(read_settings, reads_an_empty_record_as_an_entry_of_defaults) {
    const auto entries = read("\xA7\xA7\n" + record({item("id", "A")}) + "\xA7");
    ASSERT_EQ(entries.size(), 4U);
    EXPECT_EQ(fields(entries[0]), fields(template_info{}));
    EXPECT_EQ(fields(entries[1]), fields(template_info{}));
    EXPECT_EQ(entries[2].id, "A");
    EXPECT_EQ(fields(entries[3]), fields(template_info{}));
    EXPECT_TRUE(read("\xA7\xA7\n", "Main").empty());
}

TEST(read_settings, skips_one_line_feed_after_a_record) {
    const auto entries = read(item("id", "A") + "\xA7" + item("id", "B") + "\xA7\n\n" +
                              item("id", "C") + item("grp", "G") + "\xA7\n");
    ASSERT_EQ(entries.size(), 3U);
    EXPECT_EQ(entries[0].id, "A");
    EXPECT_EQ(entries[1].id, "B");
    // A second line feed is part of the next record's first key.
    EXPECT_EQ(entries[2].id, "");
    EXPECT_EQ(entries[2].grp, "G");
}

TEST(read_settings, reads_a_last_record_without_end_byte) {
    const auto entries = read(record({item("id", "A")}) + "id:B");
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[1].id, "B");
}

TEST(read_settings, reads_a_line_feed_alone_as_a_record_without_items) {
    EXPECT_EQ(read("\n").size(), 1U);
}

TEST(read_settings, reads_nothing_from_empty_and_missing_files) {
    EXPECT_TRUE(read("").empty());
    std::ifstream missing(test::root() + "/nowhere", std::ios::binary);
    std::vector<template_info> entries;
    EXPECT_EQ(template_info::read_settings(missing, entries, ""), 0);
    EXPECT_TRUE(entries.empty());
}

TEST(read_settings, reads_nothing_from_a_folder) {
    std::ifstream folder(test::root(), std::ios::binary);
    std::vector<template_info> entries;
    EXPECT_EQ(template_info::read_settings(folder, entries, ""), 0);
    EXPECT_TRUE(entries.empty());
}

TEST(read_settings, reads_nothing_at_the_end_of_the_stream) {
    const std::string path = test::root() + "/template.txt";
    test::write_file(path, record({item("id", "A")}));
    std::ifstream in(path, std::ios::binary);
    in.setstate(std::ios::eofbit);
    std::vector<template_info> entries;
    EXPECT_EQ(template_info::read_settings(in, entries, ""), 0);
    EXPECT_TRUE(entries.empty());
}

TEST(read_settings, reads_a_record_of_16383_bytes) {
    for (const std::size_t length : {16'382U, 16'383U}) {
        const auto entries = read(record_of_length(length) + "\xA7\n" + record({item("id", "B")}));
        ASSERT_EQ(entries.size(), 2U) << length;
        EXPECT_EQ(entries[0].id, "long");
        EXPECT_EQ(entries[1].id, "B");
        EXPECT_EQ(read(record_of_length(length)).size(), 1U) << length;
    }
}

TEST(read_settings, stops_at_a_longer_record_and_keeps_earlier_ones) {
    for (const std::size_t length : {16'384U, 16'385U, 65'536U, 300'000U}) {
        const std::string bytes =
            record({item("id", "A")}) + record_of_length(length) + "\xA7\n" + record({});
        EXPECT_EQ(read(bytes).size(), 1U) << length;
        EXPECT_EQ(read(bytes.substr(0, bytes.size() - 4)).size(), 1U) << length;
    }
    const std::string path = test::root() + "/template.txt";
    test::write_file(path, record_of_length(16'384) + "\xA7\n");
    std::ifstream in(path, std::ios::binary);
    std::vector<template_info> entries;
    EXPECT_EQ(template_info::read_settings(in, entries, ""), 0);
    EXPECT_TRUE(in.fail());
}

TEST(read_settings, stops_at_a_longer_record_that_the_filter_excludes) {
    const std::string bytes =
        record_of_length(20'000) + "\xA7\n" + record({item("id", "A"), item("cfg", "Main")});
    EXPECT_TRUE(read(bytes, "Main").empty());
}

TEST(read_settings, agrees_with_stream_extraction_around_the_record_limit) {
    for (const std::size_t length : {16'382U, 16'383U, 16'384U}) {
        for (const char* end : {"", "\xA7", "\xA7\n", "\xA7\n\n", "\xA7\xA7"}) {
            expect_same_as_streams(record_of_length(length) + end);
            expect_same_as_streams(record_of_length(length) + end + item("id", "B") + "\xA7\n");
            expect_same_as_streams(record_of_length(100) + "\xA7\n" + record_of_length(length) +
                                   end + item("cfg", "Main"));
        }
    }
}

TEST(read_settings, agrees_with_stream_extraction_at_every_position_in_the_file) {
    // The scanner reads the file in windows of 65,536 bytes. Place record ends and line feeds
    // before, at and after the window boundaries.
    for (std::size_t first = 16'370; first <= 16'383; ++first) {
        for (const char* end : {"\xA7", "\xA7\n", "\xA7\n\n"}) {
            std::string bytes;
            for (int i = 0; i < 13; ++i) {
                bytes += record_of_length(i % 4 == 0 ? first : 16'383, std::to_string(i));
                bytes += end;
            }
            expect_same_as_streams(bytes);
        }
    }
}

TEST(read_settings, reserves_memory_for_about_as_many_entries_as_there_are) {
    // Far larger than their estimates would be if nothing of the file had been read.
    std::string bytes;
    for (int i = 0; i < 300; ++i) {
        bytes += record_of_length(4000) + "\xA7\n";
    }
    const auto entries = read(bytes);
    EXPECT_EQ(entries.size(), 300U);
    EXPECT_LE(entries.capacity(), 400U);
}

TEST(read_settings, ends_the_last_record_at_the_end_of_the_file) {
    // Bytes of the previous window remain after the file's last bytes and must not be parsed.
    std::string bytes;
    while (bytes.size() < 3 * 65'536) {
        bytes += item("id", std::string(200, 'A')) + item("cfgname", "B") + "\xA7";
    }
    for (const char* last : {"i", "id", "id:", "id:C", "cfgname", "cfgname:", "cfgname:D", "min"}) {
        for (std::size_t shift = 0; shift < 9; ++shift) {
            expect_same_as_streams(bytes + std::string(shift, 'x') + ":\x95" + last);
        }
    }
}

class byte_source {
  public:
    explicit byte_source(unsigned seed) : random_(seed) {}

    std::size_t below(std::size_t limit) { return random_() % limit; }

    std::string key() {
        static constexpr std::array<const char*, 31> keys = {
            "id",    "spif", "grif", "cfg", "cfgname", "cfgsetn", "grp", "gspif",
            "ggrif", "mri",  "dsc",  "fds", "type",    "flg",     "mni", "mxi",
            "dft",   "mfg",  "dfa",  "rec", "min",     "max",     "stp", "minc",
            "maxc",  "reg",  "num",  "chc", "xyz",     "",        "idid"};
        return keys[below(keys.size())];
    }

    std::string value() {
        switch (below(8)) {
            case 0:
                return "";
            case 1:
                return "Main";
            case 2:
                return std::to_string(random_());
            case 3:
                return "-" + std::to_string(below(100'000));
            case 4:
                return " 0x" + std::to_string(below(100)) + "z";
            case 5:
                return "99999999999";
            default: {
                std::string bytes(below(40), '\0');
                for (char& byte : bytes) {
                    byte = static_cast<char>(below(256));
                }
                return bytes;
            }
        }
    }

    std::string good_record() {
        std::string text;
        for (std::size_t i = below(20); i > 0; --i) {
            text += item(key(), value());
        }
        return text + "\xA7\n";
    }

    // Removes bytes and inserts bytes with a meaning.
    void mangle(std::string& bytes) {
        static constexpr std::string_view marks("\x95\xA7\n:\0\xA7\xA7 ", 8);
        for (std::size_t i = below(6); i > 0 && !bytes.empty(); --i) {
            const std::size_t at = below(bytes.size());
            switch (below(3)) {
                case 0:
                    bytes.erase(at, 1 + below(4));
                    break;
                case 1:
                    bytes.insert(at, 1, marks[below(marks.size())]);
                    break;
                default:
                    bytes[at] = marks[below(marks.size())];
                    break;
            }
        }
    }

  private:
    std::mt19937 random_;
};

TEST(read_settings, agrees_with_stream_extraction_on_generated_and_mangled_records) {
    byte_source source(1);
    for (int i = 0; i < 1000; ++i) {
        std::string bytes;
        for (std::size_t records = source.below(6); records > 0; --records) {
            bytes += source.good_record();
        }
        if (i % 4 != 0) {
            source.mangle(bytes);
        }
        ASSERT_NO_FATAL_FAILURE(expect_same_as_streams(bytes)) << "case " << i;
    }
}

TEST(read_settings, agrees_with_stream_extraction_on_random_bytes) {
    static constexpr std::string_view alphabet("id:cfgMain\x95\xA7\n\0", 13);
    byte_source source(2);
    for (int i = 0; i < 1000; ++i) {
        std::string bytes(source.below(120), '\0');
        for (char& byte : bytes) {
            byte = alphabet[source.below(alphabet.size())];
        }
        ASSERT_NO_FATAL_FAILURE(expect_same_as_streams(bytes)) << "case " << i;
    }
}

TEST(parse_setting_info, agrees_with_stream_extraction_on_mangled_records) {
    byte_source source(3);
    for (int i = 0; i < 1000; ++i) {
        std::string bytes = source.good_record();
        source.mangle(bytes);
        template_info expected;
        test::reference_parse_record(expected, bytes);
        ASSERT_EQ(fields(parsed(bytes)), fields(expected)) << testing::PrintToString(bytes);
    }
}

template_info full_entry(std::int32_t type, std::uint32_t flg) {
    template_info info;
    info.id = "Id";
    info.spif = "Spif";
    info.grif = "Grif";
    info.cfg = "Main";
    info.cfgname = "Main page";
    info.cfgsetn = "Setn";
    info.grp = "Group";
    info.gspif = "Gspif";
    info.ggrif = "Ggrif";
    info.mri = "Mri";
    info.dsc = "A description: long\nand \xE9";
    info.fds = "Fds";
    info.type = type;
    info.flg = flg;
    info.mni = 1;
    info.mxi = 4'000'000'000U;
    info.dft = "Default";
    info.mfg = "Mfg";
    info.dfa = "remove";
    info.rec = "Rec";
    info.min = 10;
    info.max = 20;
    info.stp = 5;
    info.minc = 3;
    info.maxc = 30;
    info.reg = "[a-z]*";
    info.num = 2;
    info.chc = "On,Off";
    return info;
}

std::string written(const template_info& info) {
    std::ostringstream out;
    out << info;
    return out.str();
}

// The items that begin every entry, as `full_entry` fills them.
std::string common_items(const std::string& flags, const std::string& type) {
    return item("id", "Id") + item("cfg", "Main") + item("cfgname", "Main page") +
           item("cfgsetn", "Setn") + item("grp", "Group") + item("spif", "Spif") +
           item("grif", "Grif") + item("gspif", "Gspif") + item("ggrif", "Ggrif") +
           item("mri", "Mri") + item("dsc", "A description: long\nand \xE9") + item("fds", "Fds") +
           item("flg", flags) + item("dft", "Default") + item("mni", "1") +
           item("mxi", "4000000000") + item("mfg", "Mfg") + item("dfa", "remove") +
           item("type", type);
}

TEST(template_info_output, writes_the_items_of_each_type_in_order) {
    const std::string end = "\xA7\n";
    EXPECT_EQ(written(full_entry(3, 0xAB)), common_items("ab", "3") + item("min", "10") +
                                                item("max", "20") + item("stp", "5") + end);
    EXPECT_EQ(written(full_entry(4, 0xAB)), common_items("ab", "4") + item("minc", "3") +
                                                item("maxc", "30") + item("reg", "[a-z]*") + end);
    EXPECT_EQ(written(full_entry(5, 0xAB)), common_items("ab", "5") + end);
    for (const std::int32_t type : {0, 1, 2, 6, -7}) {
        EXPECT_EQ(written(full_entry(type, 0xAB)), common_items("ab", std::to_string(type)) +
                                                       item("num", "2") + item("chc", "On,Off") +
                                                       end);
    }
}

TEST(template_info_output, writes_rec_after_the_type_when_bit_20_of_the_flags_is_set) {
    for (const std::uint32_t flg : {0x100000U, 0xFFFFFFFFU}) {
        EXPECT_TRUE(written(full_entry(5, flg))
                        .ends_with(item("type", "5") + item("rec", "Rec") + "\xA7\n"));
    }
    const auto info = parsed(item("flg", "100000"));
    EXPECT_NE(written(info).find("\x95" + item("rec", "")), std::string::npos);
    EXPECT_EQ(written(full_entry(5, 0xFFEFFFFF)), common_items("ffefffff", "5") + "\xA7\n");
}

TEST(template_info_output, does_not_depend_on_the_flags_of_the_stream) {
    std::ostringstream out;
    out << std::hex << std::showbase << std::uppercase << std::showpos << std::setfill('*')
        << std::setw(40) << full_entry(3, 0xAB);
    EXPECT_EQ(out.str(), written(full_entry(3, 0xAB)));
    EXPECT_EQ(out.flags() & std::ios::basefield, std::ios::dec);
}

TEST(template_info_output, flushes_the_stream) {
    const std::string path = test::root() + "/written.txt";
    std::ofstream out(path, std::ios::binary);
    out << full_entry(5, 0);
    EXPECT_EQ(test::read_file(path), written(full_entry(5, 0)));
}

TEST(template_info_output, can_be_read_back) {
    for (const std::int32_t type : {0, 3, 4, 5, 9, -1}) {
        for (const std::uint32_t flg : {0x0U, 0x100000U, 0xFFFFFFFFU}) {
            auto expected = full_entry(type, flg);
            const auto entries = read(written(expected) + written(expected));
            ASSERT_EQ(entries.size(), 2U);
            if ((flg & template_info::rec_flag) == 0) {
                expected.rec.clear();
            }
            if (type != 3) {
                expected.min = expected.max = expected.stp = 0;
            }
            if (type != 4) {
                expected.minc = expected.maxc = 0;
                expected.reg.clear();
            }
            if (type >= 3 && type <= 5) {
                expected.num = 0;
                expected.chc.clear();
            }
            EXPECT_EQ(fields(entries[0]), fields(expected));
            EXPECT_EQ(fields(entries[1]), fields(expected));
        }
    }
}

TEST(convert_to_attribute, copies_numbers_and_points_to_the_texts) {
    const auto info = full_entry(-3, 0x123);
    dp_attribute a;
    info.convert_to_attribute(a);
    EXPECT_EQ(a.id, info.id.c_str());
    EXPECT_EQ(a.spif, info.spif.c_str());
    EXPECT_EQ(a.grif, info.grif.c_str());
    EXPECT_EQ(a.cfg, info.cfg.c_str());
    EXPECT_EQ(a.cfgname, info.cfgname.c_str());
    EXPECT_EQ(a.cfgsetn, info.cfgsetn.c_str());
    EXPECT_EQ(a.grp, info.grp.c_str());
    EXPECT_EQ(a.gspif, info.gspif.c_str());
    EXPECT_EQ(a.ggrif, info.ggrif.c_str());
    EXPECT_EQ(a.mri, info.mri.c_str());
    EXPECT_EQ(a.dsc, info.dsc.c_str());
    EXPECT_EQ(a.fds, info.fds.c_str());
    EXPECT_EQ(a.type, -3);
    EXPECT_EQ(a.flg, 0x123U);
    EXPECT_EQ(a.mni, info.mni);
    EXPECT_EQ(a.mxi, info.mxi);
    EXPECT_EQ(a.dft, info.dft.c_str());
    EXPECT_EQ(a.mfg, info.mfg.c_str());
    EXPECT_EQ(a.dfa, info.dfa.c_str());
    EXPECT_EQ(a.rec, info.rec.c_str());
    EXPECT_EQ(a.min, info.min);
    EXPECT_EQ(a.max, info.max);
    EXPECT_EQ(a.stp, info.stp);
    EXPECT_EQ(a.minc, info.minc);
    EXPECT_EQ(a.maxc, info.maxc);
    EXPECT_EQ(a.reg, info.reg.c_str());
    EXPECT_EQ(a.num, info.num);
    EXPECT_EQ(a.chc, info.chc.c_str());
}

}  // namespace
