#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

#include "bios/category_bitmap.hpp"
#include "bios/dp_event_categories.h"
#include "tests/support/closed_standard_input.hpp"
#include "tests/support/intercepted_call.hpp"
#include "tests/support/test_platform.hpp"
#include "tests/unit/bios/failing_new.hpp"

extern "C" int event_categories_in_c(std::uint32_t* count, const char** first_value);

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using entry = std::tuple<std::int32_t, std::string, std::string>;

static_assert(offsetof(dp_category_map_entry, bit) == 0);
static_assert(offsetof(dp_category_map_entry, name) == 4);
static_assert(offsetof(dp_category_map_entry, value) == 260);
static_assert(sizeof(dp_category_map_entry) == 516);

class dp_event_categories : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }

    static std::string file() { return test::root() + "/tmp/DS/uim_ras_category_mapping.cfg"; }

    // The entries that the C API returns for a file with this content.
    static std::vector<entry> read(const std::string& content) {
        test::write_file(file(), content);
        std::uint32_t count = 99;
        EXPECT_EQ(dp_get_uim_event_category_mapping(nullptr, &count), 0);
        std::vector<dp_category_map_entry> records(count + 1);
        std::memset(records.data(), 0x55, records.size() * sizeof(records[0]));
        std::uint32_t second = 99;
        EXPECT_EQ(dp_get_uim_event_category_mapping(records.data(), &second), 0);
        EXPECT_EQ(second, count);
        EXPECT_EQ(records[count].bit, 0x55555555) << "nothing is written after the last entry";
        std::vector<entry> entries;
        for (std::uint32_t i = 0; i < count; ++i) {
            entries.emplace_back(records[i].bit, records[i].name, records[i].value);
        }
        return entries;
    }
};

TEST_F(dp_event_categories, trims_spaces_around_the_three_parts) {
    const entry fan{12, "Fan", "Fan failure"};
    EXPECT_THAT(read("12=Fan::Fan failure\n"), ElementsAre(fan));
    EXPECT_THAT(read("12 = Fan :: Fan failure\n"), ElementsAre(fan));
    EXPECT_THAT(read("12   =   Fan   ::   Fan failure   \n"), ElementsAre(fan));
}

TEST_F(dp_event_categories, trims_only_spaces) {
    EXPECT_THAT(read("1 =\tA\t::\tB\t\r\n"), ElementsAre(entry(1, "\tA\t", "\tB\t\r")));
    EXPECT_THAT(read("1\t=A::B\n"), ElementsAre(entry(1, "A", "B")));
}

TEST_F(dp_event_categories, skips_lines_that_do_not_begin_with_a_digit) {
    EXPECT_THAT(read("# 5 = X :: Y\n"
                     " # 5 = X :: Y\n"
                     " 5 = X :: Y\n"
                     "\n"
                     "-5 = X :: Y\n"
                     "+5 = X :: Y\n"
                     "=X::Y\n"
                     "\t5 = X :: Y\n"
                     "3 = Memory :: Memory errors\n"),
                ElementsAre(entry(3, "Memory", "Memory errors")));
}

TEST_F(dp_event_categories, skips_lines_without_both_separators_in_order) {
    EXPECT_THAT(read("5\n"
                     "5 = X\n"
                     "5 :: Y\n"
                     "5 :: X = Y\n"
                     "5 = X : Y\n"
                     "6=::\n"),
                ElementsAre(entry(6, "", "")));
}

TEST_F(dp_event_categories, splits_at_the_first_separators) {
    EXPECT_THAT(read("1=a=b::c::d=e\n"), ElementsAre(entry(1, "a=b", "c::d=e")));
    EXPECT_THAT(read("1=a:::b\n"), ElementsAre(entry(1, "a", ":b")));
    EXPECT_THAT(read("1=::::\n"), ElementsAre(entry(1, "", "::")));
}

TEST_F(dp_event_categories, ignores_text_after_the_number) {
    EXPECT_THAT(read("7 seven = A :: B\n8x=C::D\n0x10=E::F\n9.5=G::H\n"),
                ElementsAre(entry(7, "A", "B"), entry(8, "C", "D"), entry(0, "E", "F"),
                            entry(9, "G", "H")));
}

TEST_F(dp_event_categories, skips_lines_whose_number_overflows) {
    EXPECT_THAT(read("2147483647=A::B\n"
                     "2147483648=C::D\n"
                     "99999999999999999999999999=E::F\n"
                     "00000000000000000000000001=G::H\n"),
                ElementsAre(entry(2147483647, "A", "B"), entry(1, "G", "H")));
}

TEST_F(dp_event_categories, keeps_order_and_duplicates) {
    EXPECT_THAT(read("2=B::b\n1=A::a\n2=B::b\n2=C::c\n"),
                ElementsAre(entry(2, "B", "b"), entry(1, "A", "a"), entry(2, "B", "b"),
                            entry(2, "C", "c")));
}

TEST_F(dp_event_categories, reads_a_last_line_without_newline) {
    EXPECT_THAT(read("1=A::a\n2=B::b"), ElementsAre(entry(1, "A", "a"), entry(2, "B", "b")));
}

TEST_F(dp_event_categories, accepts_lines_of_up_to_199_characters) {
    const std::string longest = "1=A::" + std::string(194, 'v');
    ASSERT_EQ(longest.size(), 199U);
    const entry whole{1, "A", std::string(194, 'v')};
    const entry second{2, "B", "b"};
    EXPECT_THAT(read(longest + "\n2=B::b\n"), ElementsAre(whole, second));
    EXPECT_THAT(read("2=B::b\n" + longest), ElementsAre(second, whole));
}

TEST_F(dp_event_categories, stops_at_a_longer_line) {
    const std::string too_long = "1=A::" + std::string(195, 'v');
    const entry zero{0, "Z", "z"};
    EXPECT_THAT(read("0=Z::z\n" + too_long + "\n2=B::b\n"), ElementsAre(zero));
    EXPECT_THAT(read("0=Z::z\n" + too_long), ElementsAre(zero));
    EXPECT_THAT(read("0=Z::z\n#" + std::string(100000, 'c') + "\n2=B::b\n"), ElementsAre(zero));
}

TEST_F(dp_event_categories, cuts_a_line_at_a_nul) {
    using namespace std::string_literals;
    EXPECT_THAT(read("1=A::a\0b\n2=B\0::b\n\0003=C::c\n4=D::d\n"s),
                ElementsAre(entry(1, "A", "a"), entry(4, "D", "d")));
}

TEST_F(dp_event_categories, keeps_bytes_beyond_ascii) {
    EXPECT_THAT(read("1=\xff\xc3\xa4::\x80\n"), ElementsAre(entry(1, "\xff\xc3\xa4", "\x80")));
}

TEST_F(dp_event_categories, has_no_entries_for_a_missing_empty_or_unreadable_file) {
    std::uint32_t count = 99;
    dp_category_map_entry record{};
    EXPECT_EQ(dp_get_uim_event_category_mapping(&record, &count), 0);
    EXPECT_EQ(count, 0U);
    EXPECT_THAT(read(""), IsEmpty());
    std::filesystem::remove(file());
    std::filesystem::create_directory(file());
    count = 99;
    EXPECT_EQ(dp_get_uim_event_category_mapping(&record, &count), 0);
    EXPECT_EQ(count, 0U);
}

TEST_F(dp_event_categories, has_no_entries_and_never_waits_without_a_regular_file) {
    std::filesystem::create_directories(test::root() + "/tmp/DS");
    const auto expect_none = [] {
        std::uint32_t count = 99;
        EXPECT_EQ(dp_get_uim_event_category_mapping(nullptr, &count), 0);
        EXPECT_EQ(count, 0U);
    };
    // A pipe without a writer, and a pipe whose writer sends a table.
    ASSERT_EQ(mkfifo(file().c_str(), 0600), 0);
    expect_none();
    const int pipe = open(file().c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(pipe, 0);
    ASSERT_EQ(write(pipe, "1=A::a\n", 7), 7);
    expect_none();
    close(pipe);
    std::filesystem::remove(file());
    std::filesystem::create_symlink("/dev/zero", file());
    expect_none();
    std::filesystem::remove(file());
    test::write_file(test::root() + "/tmp/table", "1=A::a\n");
    std::filesystem::create_symlink(test::root() + "/tmp/table", file());
    std::uint32_t count = 99;
    EXPECT_EQ(dp_get_uim_event_category_mapping(nullptr, &count), 0);
    EXPECT_EQ(count, 1U) << "a symlink to a table is followed";
}

TEST_F(dp_event_categories, reads_the_table_without_standard_input) {
    const test::closed_standard_input closed;
    EXPECT_THAT(read("1=A::a\n"), ElementsAre(entry{1, "A", "a"}));
    EXPECT_TRUE(test::closed_standard_input::is_closed());
}

TEST_F(dp_event_categories, has_no_entries_without_memory_for_a_stream) {
    test::write_file(file(), "1=A::a\n");
    const test::closed_standard_input closed;
    std::uint32_t count = 99;
    {
        const test::intercepted_call no_stream(test::libc_call::fdopen, ENOMEM);
        EXPECT_EQ(dp_get_uim_event_category_mapping(nullptr, &count), 0);
    }
    EXPECT_EQ(count, 0U);
    EXPECT_TRUE(test::closed_standard_input::is_closed()) << "the file stays open";
}

TEST_F(dp_event_categories, writes_nothing_without_a_count) {
    test::write_file(file(), "1=A::a\n");
    dp_category_map_entry record;
    std::memset(&record, 0x55, sizeof record);
    const dp_category_map_entry before = record;
    EXPECT_EQ(dp_get_uim_event_category_mapping(&record, nullptr), -1);
    EXPECT_EQ(std::memcmp(&record, &before, sizeof record), 0);
    EXPECT_EQ(dp_get_uim_event_category_mapping(nullptr, nullptr), -1);
}

TEST_F(dp_event_categories, reads_the_file_at_every_call) {
    EXPECT_THAT(read("1=A::a\n"), ElementsAre(entry(1, "A", "a")));
    EXPECT_THAT(read("1=B::b\n2=C::c\n"), ElementsAre(entry(1, "B", "b"), entry(2, "C", "c")));
}

TEST_F(dp_event_categories, returns_the_same_entries_to_a_caller_in_c) {
    test::write_file(file(), "1=A::a\n2=B::b\n");
    std::uint32_t count = 0;
    const char* value = nullptr;
    EXPECT_EQ(event_categories_in_c(&count, &value), 0);
    EXPECT_EQ(count, 2U);
    EXPECT_STREQ(value, "a");
}

TEST_F(dp_event_categories, copies_many_entries) {
    std::string content;
    for (int i = 0; i < 5000; ++i) {
        content += std::to_string(i) + " = n" + std::to_string(i) + " :: v\n";
    }
    const auto entries = read(content);
    ASSERT_EQ(entries.size(), 5000U);
    EXPECT_EQ(entries[4999], entry(4999, "n4999", "v"));
}

TEST_F(dp_event_categories, cuts_texts_to_255_characters) {
    for (const std::size_t length : {254U, 255U, 256U, 257U, 300U}) {
        const dp::BitMap from{-7, std::string(length, 'n'), std::string(length, 'v')};
        dp_category_map_entry to;
        std::memset(&to, 0x55, sizeof to);
        dp::copy_to_entry(from, to);
        const std::size_t kept = length < 255 ? length : 255;
        EXPECT_EQ(to.bit, -7);
        EXPECT_EQ(std::string(to.name), std::string(kept, 'n'));
        EXPECT_EQ(std::string(to.value), std::string(kept, 'v'));
        EXPECT_EQ(to.name[255], '\0');
        EXPECT_EQ(to.value[255], '\0');
    }
}

TEST_F(dp_event_categories, clears_the_bytes_after_a_text) {
    dp_category_map_entry to;
    std::memset(&to, 0x55, sizeof to);
    dp::copy_to_entry({1, "ab", ""}, to);
    EXPECT_EQ(std::string(to.name, sizeof to.name), "ab" + std::string(254, '\0'));
    EXPECT_EQ(std::string(to.value, sizeof to.value), std::string(256, '\0'));
}

TEST_F(dp_event_categories, keeps_the_parts_in_category_bitMap) {
    test::write_file(file(), "3 = Memory :: Memory errors\n");
    dp::category_bitMap map;
    EXPECT_EQ(map.file_name, file());
    EXPECT_THAT(map.entries, IsEmpty());
    map.extractBitMap();
    ASSERT_EQ(map.entries.size(), 1U);
    EXPECT_EQ(map.entries[0].bit, 3);
    EXPECT_EQ(map.entries[0].name, "Memory");
    EXPECT_EQ(map.entries[0].value, "Memory errors");
}

TEST_F(dp_event_categories, reports_a_lack_of_memory) {
    // Names that exceed the small-string buffer, so that each line allocates.
    const std::string name(40, 'n');
    test::write_file(file(), "1=" + name + "::a\n2=" + name + "::b\n3=" + name + "::c\n");
    int failures = 0;
    for (int successes = 0; successes < 1000; ++successes) {
        std::uint32_t count = 99;
        int result = 99;
        bool failed = false;
        {
            const test::failing_new failing(successes);
            result = dp_get_uim_event_category_mapping(nullptr, &count);
            failed = test::failing_new::failed();
        }
        if (!failed) {
            EXPECT_EQ(result, 0);
            EXPECT_EQ(count, 3U);
            break;
        }
        ++failures;
        EXPECT_EQ(result, -1) << successes;
        EXPECT_EQ(count, 0U) << successes;
    }
    EXPECT_GT(failures, 5);
    EXPECT_LT(failures, 1000);
}

}  // namespace
