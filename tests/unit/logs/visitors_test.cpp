#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ctime>
#include <limits>
#include <sstream>
#include <string>

#include "common/log.hpp"
#include "logs/change_history_visitor.hpp"
#include "logs/error_command_visitor.hpp"
#include "logs/process_log.hpp"
#include "tests/support/test_platform.hpp"
#include "tests/support/time_zone.hpp"
#include "tests/unit/logs/sample_transaction.hpp"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

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

TEST_F(change_history_visitor, an_empty_value_still_gets_a_line) {
    EXPECT_EQ(history_of(sample.add(&sample.b, "", 0, "")),
              "Tue Nov 14 22:13:20 2023   A.B   \"\"\n");
}

TEST_F(change_history_visitor, failed_commands_and_those_without_a_setting_are_skipped) {
    EXPECT_EQ(history_of(sample.add(&sample.b, "", 18, "x")), "");
    EXPECT_EQ(history_of(sample.add(&sample.b, "", -1, "x")), "");
    EXPECT_EQ(history_of(sample.add(nullptr, "", 0, "x")), "");
    EXPECT_EQ(history_of(sample.add(nullptr, "", 16, "x")), "");
}

TEST_F(change_history_visitor, the_time_is_local_and_days_are_padded_with_a_blank) {
    auto& command = sample.add(&sample.b, "", 0, "v");
    zone.set("EST5");
    time.milliseconds = 1'709'614'800'000;
    EXPECT_EQ(history_of(command), "Tue Mar  5 00:00:00 2024   A.B   \"v\"\n");
    zone.set("XXX-5:30");
    EXPECT_EQ(history_of(command), "Tue Mar  5 10:30:00 2024   A.B   \"v\"\n")
        << "each visitor looks the zone up anew";
}

TEST_F(change_history_visitor, each_line_has_its_own_time) {
    std::ostringstream out;
    dp::change_history_visitor visitor(out);
    visitor(&sample.add(&sample.b, "", 0, "1"));
    time.advance(1);
    visitor(&sample.add(&sample.c, "", 0, "2"));
    EXPECT_EQ(out.str(),
              "Tue Nov 14 22:13:20 2023   A.B   \"1\"\n"
              "Tue Nov 14 22:13:21 2023   A.C   \"2\"\n");
}

TEST_F(change_history_visitor, times_beyond_32_bits_are_shown) {
    if (std::numeric_limits<std::time_t>::max() < 4'102'444'800) {
        GTEST_SKIP() << "time_t has 32 bits";
    }
    time.milliseconds = 4'102'444'800'000;
    EXPECT_EQ(history_of(sample.add(&sample.b, "", 0, "v")),
              "Fri Jan  1 00:00:00 2100   A.B   \"v\"\n");
    // The year 10000 does not fit the form.
    time.milliseconds = 253'402'300'800'000;
    EXPECT_EQ(history_of(sample.add(&sample.b, "", 0, "v")), "   A.B   \"v\"\n");
}

class error_command_visitor : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }

    // What the visitor adds to the status file.
    std::string records_of(const dp::transaction_command& command) {
        const std::string path = test::root() + "/tmp/status";
        dp::process_log log(path, false);
        const std::string before = test::read_file(path);
        dp::error_command_visitor visitor(log, "name");
        visitor(&command);
        return test::read_file(path).substr(before.size());
    }

    test::recording_log diagnostics{dp::log_level::error};
    test::sample_transaction sample{"T"};
};

TEST_F(error_command_visitor, reports_status_and_value) {
    EXPECT_EQ(records_of(sample.add(&sample.b, "1", 18, "x")),
              "<name> 0002 DP.ERROR A.B.1 18\n"
              "<name> 0003 DP.MESSAGE A.B.1 \"x\"\n");
    EXPECT_THAT(diagnostics.lines, ElementsAre(test::recording_log::line{
                                       "ERR", " ***ERROR*** <name> A.B.1, status = 18"}));
}

TEST_F(error_command_visitor, an_empty_value_is_not_reported) {
    EXPECT_EQ(records_of(sample.add(&sample.b, "", -3, "")), "<name> 0002 DP.ERROR A.B -3\n");
    EXPECT_THAT(diagnostics.lines, ElementsAre(test::recording_log::line{
                                       "ERR", " ***ERROR*** <name> A.B, status = -3"}));
}

TEST_F(error_command_visitor, successes_and_commands_without_a_setting_are_skipped) {
    EXPECT_EQ(records_of(sample.add(&sample.b, "", 0, "x")), "");
    EXPECT_EQ(records_of(sample.add(nullptr, "", 16, "x")), "");
    EXPECT_EQ(records_of(sample.add(nullptr, "", 0, "x")), "");
    EXPECT_THAT(diagnostics.lines, IsEmpty());
}

TEST_F(error_command_visitor, a_command_that_did_not_run_is_a_failure) {
    auto& command = sample.add(&sample.b, "", 255, "");
    command.complete = false;
    EXPECT_EQ(records_of(command), "<name> 0002 DP.ERROR A.B 255\n");
}

TEST_F(error_command_visitor, records_are_written_without_error_logging) {
    diagnostics.mask_value = ~dp::log_level::error & ~dp::log_level::trace_4;
    EXPECT_EQ(records_of(sample.add(&sample.b, "", 5, "")), "<name> 0002 DP.ERROR A.B 5\n");
    EXPECT_THAT(diagnostics.lines, IsEmpty());
}

}  // namespace
