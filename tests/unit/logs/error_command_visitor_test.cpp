#include "logs/error_command_visitor.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "common/log.hpp"
#include "logs/process_log.hpp"
#include "tests/support/test_platform.hpp"
#include "tests/unit/logs/sample_transaction.hpp"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class error_command_visitor : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }

    // The status records that the visitor writes.
    static std::string records_of(const dp::transaction_command& command) {
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

TEST_F(error_command_visitor, does_not_report_an_empty_value) {
    EXPECT_EQ(records_of(sample.add(&sample.b, "", -3, "")), "<name> 0002 DP.ERROR A.B -3\n");
    EXPECT_THAT(diagnostics.lines, ElementsAre(test::recording_log::line{
                                       "ERR", " ***ERROR*** <name> A.B, status = -3"}));
}

TEST_F(error_command_visitor, skips_successful_commands_and_commands_without_a_setting) {
    EXPECT_EQ(records_of(sample.add(&sample.b, "", 0, "x")), "");
    EXPECT_EQ(records_of(sample.add(nullptr, "", 16, "x")), "");
    EXPECT_EQ(records_of(sample.add(nullptr, "", 0, "x")), "");
    EXPECT_THAT(diagnostics.lines, IsEmpty());
}

TEST_F(error_command_visitor, reports_a_command_that_did_not_run) {
    auto& command = sample.add(&sample.b, "", 255, "");
    command.complete = false;
    EXPECT_EQ(records_of(command), "<name> 0002 DP.ERROR A.B 255\n");
}

TEST_F(error_command_visitor, writes_status_records_without_error_logging) {
    diagnostics.mask_value = ~dp::log_level::error & ~dp::log_level::trace_4;
    EXPECT_EQ(records_of(sample.add(&sample.b, "", 5, "")), "<name> 0002 DP.ERROR A.B 5\n");
    EXPECT_THAT(diagnostics.lines, IsEmpty());
}

}  // namespace
