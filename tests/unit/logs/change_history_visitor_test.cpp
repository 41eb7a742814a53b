#include "logs/change_history_visitor.hpp"

#include <gtest/gtest.h>

#include <ctime>
#include <limits>
#include <sstream>
#include <string>

#include "tests/support/test_platform.hpp"
#include "tests/support/time_zone.hpp"
#include "tests/unit/logs/sample_transaction.hpp"

namespace {

std::string history_of(const dp::transaction_command& command) {
    std::ostringstream out;
    dp::change_history_visitor visitor(out);
    visitor(&command);
    return out.str();
}

class change_history_visitor : public testing::Test {
  protected:
    test::time_zone zone{"UTC"};
    test::stepped_time time{1'700'000'000};
    test::sample_transaction sample{"T"};
};

TEST_F(change_history_visitor, writes_time_name_and_value) {
    EXPECT_EQ(history_of(sample.add(&sample.b, "", 0, "UEFI")),
              "Tue Nov 14 22:13:20 2023   A.B   \"UEFI\"\n");
    EXPECT_EQ(history_of(sample.add(&sample.c, "7", 0, "a \"b\" \\c")),
              "Tue Nov 14 22:13:20 2023   A.C.7   \"a \"b\" \\c\"\n")
        << "nothing is escaped";
}

TEST_F(change_history_visitor, writes_a_line_for_an_empty_value) {
    EXPECT_EQ(history_of(sample.add(&sample.b, "", 0, "")),
              "Tue Nov 14 22:13:20 2023   A.B   \"\"\n");
}

TEST_F(change_history_visitor, skips_failed_commands_and_commands_without_a_setting) {
    EXPECT_EQ(history_of(sample.add(&sample.b, "", 18, "x")), "");
    EXPECT_EQ(history_of(sample.add(&sample.b, "", -1, "x")), "");
    EXPECT_EQ(history_of(sample.add(nullptr, "", 0, "x")), "");
    EXPECT_EQ(history_of(sample.add(nullptr, "", 16, "x")), "");
}

TEST_F(change_history_visitor, writes_local_time_with_days_padded_by_a_space) {
    auto& command = sample.add(&sample.b, "", 0, "v");
    zone.set("EST5");
    time.milliseconds = 1'709'614'800'000;
    EXPECT_EQ(history_of(command), "Tue Mar  5 00:00:00 2024   A.B   \"v\"\n");
    zone.set("XXX-5:30");
    EXPECT_EQ(history_of(command), "Tue Mar  5 10:30:00 2024   A.B   \"v\"\n")
        << "each visitor reads the zone again";
}

TEST_F(change_history_visitor, writes_the_current_time_in_each_line) {
    std::ostringstream out;
    dp::change_history_visitor visitor(out);
    visitor(&sample.add(&sample.b, "", 0, "1"));
    time.advance(1);
    visitor(&sample.add(&sample.c, "", 0, "2"));
    EXPECT_EQ(out.str(),
              "Tue Nov 14 22:13:20 2023   A.B   \"1\"\n"
              "Tue Nov 14 22:13:21 2023   A.C   \"2\"\n");
}

TEST_F(change_history_visitor, writes_times_beyond_32_bits) {
    if (std::numeric_limits<std::time_t>::max() < 4'102'444'800) {
        GTEST_SKIP() << "time_t has 32 bits";
    }
    time.milliseconds = 4'102'444'800'000;
    EXPECT_EQ(history_of(sample.add(&sample.b, "", 0, "v")),
              "Fri Jan  1 00:00:00 2100   A.B   \"v\"\n");
    // The year 10000 has no such form.
    time.milliseconds = 253'402'300'800'000;
    EXPECT_EQ(history_of(sample.add(&sample.b, "", 0, "v")), "   A.B   \"v\"\n");
}

}  // namespace
