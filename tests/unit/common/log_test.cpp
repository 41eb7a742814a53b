#include "common/log.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>

#include "tests/support/test_platform.hpp"

using test::recording_log;

namespace {

// Counts how often it is formatted.
struct counted {
    int* times;
};

std::ostream& operator<<(std::ostream& os, const counted& c) {
    ++*c.times;
    return os << "counted";
}

}  // namespace

TEST(log_line, appends_one_space_and_the_parts_in_order) {
    const recording_log log(dp::log_level::log);
    dp::log_line(dp::log_level::log, "LOG", "a", 1, std::string("b"), -2);
    ASSERT_EQ(log.lines.size(), 1U);
    EXPECT_EQ(log.lines[0], (recording_log::line{"LOG", " a1b-2"}));
}

TEST(log_line, does_nothing_without_a_log) {
    int times = 0;
    dp::log_line(dp::log_level::log, "LOG", counted{&times});
    EXPECT_EQ(times, 0);
    EXPECT_FALSE(dp::log_enabled(0xFFFFFFFF));
}

TEST(log_line, formats_nothing_when_its_bit_is_clear) {
    const recording_log log(~dp::log_level::log);
    int times = 0;
    dp::log_line(dp::log_level::log, "LOG", counted{&times});
    EXPECT_EQ(times, 0);
    EXPECT_TRUE(log.lines.empty());
    dp::log_line(dp::log_level::trace_4, "DBG", counted{&times});
    EXPECT_EQ(times, 1);
    ASSERT_EQ(log.lines.size(), 1U);
    EXPECT_EQ(log.lines[0].level, "DBG");
}

TEST(log_error_line, has_its_own_bit_tag_and_prefix) {
    recording_log log(dp::log_level::error);
    dp::log_error_line("no ", 5);
    ASSERT_EQ(log.lines.size(), 1U);
    EXPECT_EQ(log.lines[0], (recording_log::line{"ERR", " ***ERROR*** no 5"}));
    log.mask_value = ~dp::log_level::error;
    dp::log_error_line("no ", 5);
    EXPECT_EQ(log.lines.size(), 1U);
}

TEST(log_level, bits_are_those_of_the_board) {
    EXPECT_EQ(dp::log_level::log, 0x80000000U);
    EXPECT_EQ(dp::log_level::error, 0x10000000U);
    EXPECT_EQ(dp::log_level::trace_4, 4U);
    EXPECT_EQ(dp::log_level::trace_2, 2U);
    EXPECT_EQ(dp::log_level::trace_1, 1U);
}
