#include "logs/process_log.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <system_error>

#include "common/fixed_paths.hpp"
#include "common/log.hpp"
#include "tests/support/closed_standard_input.hpp"
#include "tests/support/intercepted_call.hpp"
#include "tests/support/test_platform.hpp"
#include "tests/support/time_zone.hpp"
#include "tests/unit/logs/fake_store.hpp"
#include "tests/unit/logs/sample_transaction.hpp"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string init_record = "<dp-status> 0001 DP.MESSAGE init \n";

class process_log : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }

    static std::string path() { return test::root() + "/tmp/status"; }
    static std::string history_path() { return test::root() + "/tmp/config_change_hisroty.log"; }

    // The file's text after the status record of the constructor.
    static std::string records() {
        const std::string text = test::read_file(path());
        EXPECT_EQ(text.substr(0, init_record.size()), init_record);
        return text.substr(std::min(init_record.size(), text.size()));
    }

    const test::time_zone zone{"UTC"};
    test::stepped_time time{1'700'000'000};
};

TEST_F(process_log, writes_one_status_record_when_created) {
    test::write_file(path(), "left from the last run\n");
    const dp::process_log log(path(), false);
    EXPECT_EQ(test::read_file(path()), init_record);
}

TEST_F(process_log, writes_one_status_record_to_the_data_store_when_created) {
    test::fake_store store;
    const dp::process_log log("status", true);
    EXPECT_EQ(store.text, init_record);
    EXPECT_THAT(store.openings,
                ElementsAre(test::fake_store::opening{"status", 4356, init_record.size()}));
}

TEST_F(process_log, writes_each_status_record_in_its_form) {
    dp::process_log log(path(), false);
    log.log_working("T", -1);
    log.log_message("T", "a", "b c");
    log.log_error("T", "A.B.1", 18);
    log.log_done("T", 1, 2, 3);
    log.log_outfile("T", "/tmp/out file");
    log.add_entry("my name", "ANY body");
    log.add_entry("", "");
    EXPECT_EQ(records(),
              "<T> 0002 DP.WORKING -1\n"
              "<T> 0003 DP.MESSAGE a b c\n"
              "<T> 0004 DP.ERROR A.B.1 18\n"
              "<T> 0005 DP.DONE 1 2 3\n"
              "<T> 0006 DP.OUTFILE /tmp/out file\n"
              "<my name> 0007 ANY body\n"
              "<> 0008 \n");
}

TEST_F(process_log, traces_each_status_record) {
    test::recording_log diagnostics(dp::log_level::trace_4);
    dp::process_log log(path(), false);
    log.log_working("T", 5);
    EXPECT_THAT(
        diagnostics.lines,
        ElementsAre(
            test::recording_log::line{"LOG", " add_entry: <dp-status> 0001 DP.MESSAGE init "},
            test::recording_log::line{"LOG", " add_entry: <T> 0002 DP.WORKING 5"}));
    diagnostics.mask_value = ~dp::log_level::trace_4;
    log.log_working("T", 6);
    EXPECT_EQ(diagnostics.lines.size(), 2U);
}

TEST_F(process_log, numbers_with_four_lower_case_hexadecimal_digits) {
    test::fake_store store;
    dp::process_log log("status", true);
    for (int i = 2; i <= 0xff; ++i) {
        log.add_entry("T", "");
    }
    EXPECT_THAT(store.text, AllOf(HasSubstr("<T> 00fa \n"), testing::EndsWith("<T> 00ff \n")));
    log.add_entry("T", "");
    EXPECT_THAT(store.text, testing::EndsWith("<T> 0100 \n"));
}

TEST_F(process_log, numbers_the_65536th_status_record_0000) {
    test::fake_store store;
    dp::process_log log("status", true);
    for (int i = 2; i <= 65535; ++i) {
        log.add_entry("T", "");
    }
    EXPECT_THAT(store.text, testing::EndsWith("<T> fffe \n<T> ffff \n"));
    log.add_entry("T", "");
    EXPECT_THAT(store.text, testing::EndsWith("<T> ffff \n<T> 0000 \n"));
    log.add_entry("T", "");
    EXPECT_THAT(store.text, testing::EndsWith("<T> 0000 \n<T> 0001 \n"));
}

TEST_F(process_log, continues_the_numbers_when_older_status_records_are_pruned) {
    test::fake_store store;
    dp::process_log log("status", true);
    // The first record has 34 bytes and 370 have 22 bytes, which is 8174; one more exceeds 8192.
    for (int i = 0; i < 370; ++i) {
        log.add_entry("T", std::string(12, 'w'));
    }
    EXPECT_EQ(store.text.size(), 8174U);
    EXPECT_THAT(store.text, testing::StartsWith(init_record));
    log.add_entry("T", std::string(12, 'w'));
    // At most 279 records of 22 bytes are below 6144.
    EXPECT_EQ(store.text.size(), 279U * 22);
    EXPECT_THAT(store.text, AllOf(testing::StartsWith("<T> 005e "),
                                  testing::EndsWith("\n<T> 0174 wwwwwwwwwwww\n")));
}

TEST_F(process_log, writes_a_status_record_longer_than_the_limits) {
    dp::process_log log(path(), false);
    const std::string body(10000, 'b');
    log.add_entry("T", body);
    EXPECT_EQ(test::read_file(path()), "<T> 0002 " + body + "\n");
    log.log_working("T", 1);
    EXPECT_EQ(test::read_file(path()), "<T> 0003 DP.WORKING 1\n");
}

TEST_F(process_log, advances_the_progress_count_at_start_and_progress) {
    dp::process_log log(path(), false);
    test::sample_transaction sample("T");
    auto& t = sample.transaction;
    log.start(&t);
    EXPECT_EQ(t.progress, 1);
    log.add_progress(&t);
    log.add_progress(&t);
    EXPECT_EQ(t.progress, 3);
    EXPECT_EQ(records(),
              "<T> 0002 DP.WORKING 0\n"
              "<T> 0003 DP.WORKING 1\n"
              "<T> 0004 DP.WORKING 2\n");
}

TEST_F(process_log, writes_start_but_no_progress_without_steps) {
    dp::process_log log(path(), false);
    test::sample_transaction sample("T");
    auto& t = sample.transaction;
    t.step = 0;
    t.progress = 7;
    log.add_progress(&t);
    EXPECT_EQ(t.progress, 7);
    EXPECT_EQ(records(), "");
    log.start(&t);
    EXPECT_EQ(records(), "<T> 0002 DP.WORKING 7\n") << "the sequence did not advance either";
    EXPECT_EQ(t.progress, 8);
}

TEST_F(process_log, reports_failed_commands_in_order) {
    dp::process_log log(path(), false);
    test::sample_transaction sample("T");
    sample.add(&sample.b, "1", 18, "x");
    sample.add(&sample.c, "", 0, "fine");
    sample.add(&sample.c, "", 226, "");
    sample.add(nullptr, "", 16, "no setting");
    log.start(&sample.transaction);
    log.stop(&sample.transaction);
    EXPECT_EQ(records(),
              "<T> 0002 DP.WORKING 0\n"
              "<T> 0003 DP.ERROR A.B.1 18\n"
              "<T> 0004 DP.MESSAGE A.B.1 \"x\"\n"
              "<T> 0005 DP.ERROR A.C 226\n"
              "<T> 0006 DP.DONE 1 1 3\n");
}

TEST_F(process_log, reports_but_does_not_count_an_incomplete_command) {
    dp::process_log log(path(), false);
    test::sample_transaction sample("T");
    sample.add(&sample.b, "", 255, "").complete = false;
    sample.add(&sample.c, "", 5, "");
    log.stop(&sample.transaction);
    EXPECT_EQ(records(),
              "<T> 0002 DP.ERROR A.B 255\n"
              "<T> 0003 DP.ERROR A.C 5\n"
              "<T> 0004 DP.DONE 1 1 1\n");
}

TEST_F(process_log, does_not_touch_the_scratch_history_after_errors) {
    test::write_file(history_path(), "somebody's\n");
    dp::process_log log(path(), false);
    test::sample_transaction sample("T");
    sample.add(&sample.b, "", 5, "");
    sample.add(&sample.c, "", 0, "v");
    log.stop(&sample.transaction);
    EXPECT_EQ(test::read_file(history_path()), "somebody's\n");
}

TEST_F(process_log, reports_no_errors_and_removes_the_scratch_file_after_success) {
    test::recording_log diagnostics(~dp::log_level::trace_4);
    dp::process_log log(path(), false);
    test::sample_transaction sample("T");
    sample.add(&sample.b, "", 0, "1");
    sample.add(&sample.c, "", 0, "2");
    log.stop(&sample.transaction);
    EXPECT_EQ(records(), "<T> 0002 DP.DONE 0 2 0\n");
    EXPECT_FALSE(std::filesystem::exists(history_path()));
    EXPECT_THAT(diagnostics.lines, IsEmpty());
}

TEST_F(process_log, reports_success_without_commands) {
    dp::process_log log(path(), false);
    test::sample_transaction sample("T");
    log.stop(&sample.transaction);
    EXPECT_EQ(records(), "<T> 0002 DP.DONE 0 0 0\n");
}

// What is left to read. A file that was opened before keeps its text when it is removed.
std::string rest_of(std::istream& in) {
    return {std::istreambuf_iterator<char>(in), {}};
}

TEST_F(process_log, appends_the_changes_to_the_scratch_history_after_success) {
    test::write_file(history_path(), "earlier\n");
    std::ifstream kept(history_path());
    dp::process_log log(path(), false);
    test::sample_transaction sample("T");
    sample.add(&sample.b, "1", 0, "on");
    sample.add(nullptr, "", 0, "skipped");
    sample.add(&sample.c, "", 0, "");
    log.stop(&sample.transaction);
    EXPECT_FALSE(std::filesystem::exists(history_path()));
    EXPECT_EQ(rest_of(kept),
              "earlier\n"
              "Tue Nov 14 22:13:20 2023   A.B.1   \"on\"\n"
              "Tue Nov 14 22:13:20 2023   A.C   \"\"\n");
}

TEST_F(process_log, logs_a_scratch_file_that_cannot_be_opened_or_removed) {
    test::recording_log diagnostics(dp::log_level::error | dp::log_level::trace_4);
    std::filesystem::create_directories(history_path() + "/in the way");
    dp::process_log log(path(), false);
    test::sample_transaction sample("T");
    sample.add(&sample.b, "", 0, "v");
    diagnostics.lines.clear();
    log.stop(&sample.transaction);
    using line = test::recording_log::line;
    EXPECT_THAT(diagnostics.lines,
                ElementsAre(line{"ERR", " ***ERROR*** Open " + history_path() + " failed"},
                            line{"LOG", " remove file: " + history_path() +
                                            " failed, errno= " + std::to_string(ENOTEMPTY)},
                            line{"LOG", " add_entry: <T> 0002 DP.DONE 0 1 0"}));
    EXPECT_EQ(records(), "<T> 0002 DP.DONE 0 1 0\n");
}

TEST_F(process_log, appends_every_one_of_many_changes) {
    test::write_file(history_path(), "");
    std::ifstream kept(history_path());
    dp::process_log log(path(), false);
    test::sample_transaction sample("T");
    std::string expected;
    for (int i = 0; i < 5000; ++i) {
        const std::string value = std::to_string(i);
        sample.add(&sample.b, "1", 0, value);
        expected += "Tue Nov 14 22:13:20 2023   A.B.1   \"" + value + "\"\n";
    }
    // In parts, so that the memory does not grow with the number of changes.
    std::set<std::uintmax_t> sizes;  // before each write, also those to the status file
    {
        const test::intercepted_call watched(test::libc_call::write, [&] {
            std::error_code ignored;
            sizes.insert(std::filesystem::file_size(history_path(), ignored));
            return 0;
        });
        log.stop(&sample.transaction);
    }
    EXPECT_EQ(rest_of(kept), expected);
    EXPECT_GE(sizes.size(), expected.size() / 65'536) << testing::PrintToString(sizes);
}

TEST_F(process_log, removes_other_things_named_like_the_scratch_file_without_writing) {
    const std::string precious = test::root() + "/tmp/precious";
    test::write_file(precious, "precious");
    const auto expect_refusal = [] {
        test::recording_log diagnostics(dp::log_level::error);
        dp::process_log log(path(), false);
        test::sample_transaction sample("T");
        sample.add(&sample.b, "", 0, "v");
        log.stop(&sample.transaction);
        using line = test::recording_log::line;
        EXPECT_THAT(diagnostics.lines,
                    ElementsAre(line{"ERR", " ***ERROR*** Open " + history_path() + " failed"}));
        EXPECT_EQ(records(), "<T> 0002 DP.DONE 0 1 0\n");
        EXPECT_FALSE(std::filesystem::exists(std::filesystem::symlink_status(history_path())));
    };
    std::filesystem::create_symlink(precious, history_path());
    expect_refusal();
    EXPECT_EQ(test::read_file(precious), "precious");
    std::filesystem::create_symlink(test::root() + "/tmp/made", history_path());
    expect_refusal();
    EXPECT_FALSE(std::filesystem::exists(test::root() + "/tmp/made"));
    // A pipe without a reader, and a pipe whose reader would receive the changes.
    ASSERT_EQ(mkfifo(history_path().c_str(), 0600), 0);
    expect_refusal();
    ASSERT_EQ(mkfifo(history_path().c_str(), 0600), 0);
    const int reader = open(history_path().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    expect_refusal();
    char byte = 0;
    EXPECT_EQ(read(reader, &byte, 1), 0);
    close(reader);
    // A file that has another name too, and one of another user.
    std::filesystem::create_hard_link(precious, history_path());
    expect_refusal();
    EXPECT_EQ(test::read_file(precious), "precious");
    if (geteuid() == 0) {
        test::write_file(history_path(), "theirs");
        ASSERT_EQ(chown(history_path().c_str(), 12345, 12345), 0);
        std::ifstream theirs(history_path());
        expect_refusal();
        EXPECT_EQ(rest_of(theirs), "theirs");
    }
}

TEST_F(process_log, appends_to_the_scratch_history_without_standard_input) {
    test::write_file(history_path(), "earlier\n");
    std::ifstream kept(history_path());
    dp::process_log log(path(), false);
    test::sample_transaction sample("T");
    sample.add(&sample.b, "1", 0, "on");
    const test::closed_standard_input closed;
    log.stop(&sample.transaction);
    EXPECT_TRUE(test::closed_standard_input::is_closed());
    EXPECT_EQ(rest_of(kept), "earlier\nTue Nov 14 22:13:20 2023   A.B.1   \"on\"\n");
}

TEST_F(process_log, refuses_a_file_with_another_name_without_standard_input) {
    const std::string precious = test::root() + "/tmp/precious";
    test::write_file(precious, "precious");
    std::filesystem::create_hard_link(precious, history_path());
    dp::process_log log(path(), false);
    test::sample_transaction sample("T");
    sample.add(&sample.b, "1", 0, "on");
    const test::closed_standard_input closed;
    log.stop(&sample.transaction);
    EXPECT_TRUE(test::closed_standard_input::is_closed());
    EXPECT_EQ(test::read_file(precious), "precious");
}

TEST_F(process_log, does_not_log_a_scratch_file_that_is_already_removed) {
    test::recording_log diagnostics(dp::log_level::error | dp::log_level::trace_4);
    dp::process_log log("/dev/null", false);
    std::filesystem::remove_all(test::root() + "/tmp");
    test::sample_transaction sample("T");
    diagnostics.lines.clear();
    log.stop(&sample.transaction);
    using line = test::recording_log::line;
    EXPECT_THAT(diagnostics.lines,
                ElementsAre(line{"ERR", " ***ERROR*** Open " + history_path() + " failed"},
                            line{"LOG", " add_entry: <T> 0002 DP.DONE 0 0 0"}));
}

TEST_F(process_log, keeps_a_status_file_that_cannot_be_written) {
    const std::string blocked = test::root() + "/tmp/blocked";
    std::filesystem::create_directories(blocked);
    dp::process_log log(blocked, false);
    test::sample_transaction sample("T");
    log.start(&sample.transaction);
    log.stop(&sample.transaction);
    EXPECT_TRUE(std::filesystem::is_empty(blocked));
    std::filesystem::remove(blocked);
    log.log_outfile("T", "f");
    EXPECT_EQ(test::read_file(blocked), init_record +
                                            "<T> 0002 DP.WORKING 0\n"
                                            "<T> 0003 DP.DONE 0 0 0\n"
                                            "<T> 0004 DP.OUTFILE f\n");
}

TEST_F(process_log, overrides_the_operations_of_client_log) {
    dp::process_log log(path(), false);
    dp::client_log& base = log;
    test::sample_transaction sample("T");
    sample.add(&sample.b, "", 0, "v");
    base.start(&sample.transaction);
    base.add_progress(&sample.transaction);
    base.stop(&sample.transaction);
    EXPECT_EQ(records(),
              "<T> 0002 DP.WORKING 0\n"
              "<T> 0003 DP.WORKING 1\n"
              "<T> 0004 DP.DONE 0 1 0\n");
}

}  // namespace
