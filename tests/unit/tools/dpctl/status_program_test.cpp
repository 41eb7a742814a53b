#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <thread>

#include "logs/process_log.hpp"
#include "service_api/change_record.hpp"
#include "tests/support/dpctl.hpp"
#include "tests/support/scratch_files.hpp"

// dpctl status and dpctl history as processes, on files as the settings service writes them.

namespace {

using nlohmann::json;
using test::dpctl;
using testing::HasSubstr;
using testing::IsEmpty;

json json_output(std::vector<std::string> arguments) {
    arguments.emplace_back("--json");
    const auto result = dpctl(arguments);
    EXPECT_EQ(result.exit_code, 0) << result.err;
    auto document = json::parse(result.out, nullptr, false);
    EXPECT_TRUE(document.is_object()) << result.out;
    return document;
}

class status_files : public testing::Test {
  protected:
    status_files() { test::clean_root(); }

    std::string status_ = test::root() + "/tmp/dp/status";
    std::string history_ = test::root() + "/var/dp/history";
};

// Status

TEST_F(status_files, status_shows_what_failed_and_why) {
    dp::process_log log(status_, false);
    EXPECT_EQ(dpctl({"status"}).out,
              "No transaction has begun: " + status_ + " has only its first record.\n");
    log.log_working("cim-0", 0);
    EXPECT_THAT(dpctl({"status"}).out, HasSubstr("Transaction  cim-0\n"
                                                 "Progress     at work, step 0\n"
                                                 "Written      "));
    log.log_error("cim-0", "Boot.Mode", 48);
    log.log_error("cim-0", "Boot.Vendor", 55);
    log.log_outfile("cim-0", "/tmp/dp/batch.out");
    log.log_done("cim-0", 1, 1, 2);
    const auto result = dpctl({"status"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_THAT(result.err, IsEmpty());
    EXPECT_THAT(result.out, HasSubstr("Progress     over, 2 of 3 commands failed\n"
                                      "Answer       /tmp/dp/batch.out\n"));
    EXPECT_THAT(result.out,
                HasSubstr("\nFAILED       STATUS  REASON\n"
                          "Boot.Mode    48      the value is not one of its possible values\n"
                          "Boot.Vendor  55      it is read-only\n"));
    const json document = json_output({"status"});
    EXPECT_EQ(document["file"], status_);
    EXPECT_EQ(document["over"], true);
    EXPECT_EQ(document["failed_commands"], 2);
    EXPECT_EQ(document["failed"][1]["name"], "Boot.Vendor");
    EXPECT_FALSE(document["written"].get<std::string>().empty());
}

TEST_F(status_files, status_has_words_for_a_file_that_tells_nothing) {
    EXPECT_EQ(dpctl({"status"}).out, "No transaction has run: " + status_ + " does not exist.\n");
    EXPECT_EQ(json_output({"status"})["exists"], false);
    test::write_file(status_, "");
    EXPECT_EQ(dpctl({"status"}).out, status_ + " is empty.\n");
    test::write_file(status_, "one\ntwo\n<T> 0002 DP.WOR");
    EXPECT_EQ(dpctl({"status"}).out, status_ +
                                         " has no status records.\n"
                                         "Left out: 2 lines that are no records.\n"
                                         "Left out: the last line, which is incomplete.\n");
    EXPECT_EQ(json_output({"status"})["incomplete"], true);
}

TEST_F(status_files, status_remarks_on_dropped_records_and_other_transactions) {
    test::write_file(status_,
                     "<A> 0102 DP.DONE 0 1 0\n<B> 0103 DP.WORKING 0\n<B> 0104 DP.MESSAGE a b\n");
    const auto result = dpctl({"status"});
    EXPECT_THAT(result.out, HasSubstr("Message      a b\n"));
    EXPECT_THAT(result.out, HasSubstr("The file also tells of 1 earlier transaction.\n"
                                      "The oldest records were dropped from the file.\n"));
}

TEST_F(status_files, status_prints_nothing_that_a_terminal_obeys) {
    test::write_file(status_, "<\x1b[2J> 0002 DP.ERROR \x1b]0;x\x07 55\n");
    const auto result = dpctl({"status"});
    EXPECT_THAT(result.out, Not(HasSubstr("\x1b")));
    EXPECT_THAT(result.out, HasSubstr("\\x1b[2J"));
}

TEST_F(status_files, another_file_has_to_be_there_and_to_be_a_file) {
    test::write_file(test::root() + "/other", "<T> 0002 DP.DONE 0 2 0\n");
    EXPECT_THAT(dpctl({"status", "--file", "other"}).out,
                HasSubstr("Progress     over, all 2 commands succeeded\n"));
    for (const char* const command : {"status", "history"}) {
        auto result = dpctl({command, "--file", "missing"});
        EXPECT_EQ(result.exit_code, 1);
        EXPECT_EQ(result.err, "dpctl: missing: does not exist\n");
        result = dpctl({command, "--file", "tmp"});
        EXPECT_EQ(result.exit_code, 1);
        EXPECT_EQ(result.err, "dpctl: tmp: is not a file\n");
        ASSERT_EQ(mkfifo((test::root() + "/pipe").c_str(), 0600), 0);
        EXPECT_EQ(dpctl({command, "--file", "pipe"}).err, "dpctl: pipe: is not a file\n");
        std::filesystem::remove(test::root() + "/pipe");
        EXPECT_EQ(dpctl({command, "--file", ""}).exit_code, 2);
    }
    EXPECT_EQ(dpctl({"status", "--last", "1"}).exit_code, 2);
    EXPECT_EQ(dpctl({"history", "--last", "0"}).exit_code, 2);
    EXPECT_EQ(dpctl({"history", "--follow"}).exit_code, 2);
}

// Follows the status file until `count` lines are printed, while `work` goes on beside it. What is
// printed comes to the file "seen" line by line, messages to "err".
template <class Work>
std::string follow(int count, Work work) {
    std::thread worker(work);
    const std::string script =
        "'" + test::program_path("dpctl") + "' status --follow 2>err | { i=0; while [ $i -lt " +
        std::to_string(count) + " ] && read -r line; do echo \"$line\" >>seen; i=$((i+1)); done; }";
    test::run_program("/bin/sh", {"-c", script});
    worker.join();
    return test::read_file(test::root() + "/seen");
}

TEST_F(status_files, follow_prints_a_line_for_every_record_of_a_file_that_comes_later) {
    const std::string out = follow(6, [&] {
        EXPECT_TRUE(test::wait_for_text(test::root() + "/err", "does not exist (yet)"));
        dp::process_log log(status_, false);
        log.log_working("cim-0", 0);
        log.log_working("cim-0", 1);
        log.log_error("cim-0", "Boot.Vendor", 55);
        log.log_outfile("cim-0", "/tmp/dp/batch.out");
        log.log_done("cim-0", 1, 1, 1);
    });
    EXPECT_EQ(out,
              "the status file begins\n"
              "cim-0: at work, step 0\n"
              "cim-0: at work, step 1\n"
              "cim-0: Boot.Vendor failed: it is read-only (status 55)\n"
              "cim-0: the answer is in /tmp/dp/batch.out\n"
              "cim-0: over, 1 of 2 commands failed\n");
}

TEST_F(status_files, follow_prints_another_transaction_that_leaves_the_same_bytes) {
    const auto run_one = [&] {
        dp::process_log log(status_, false);
        log.log_working("cim-0", 0);
        log.log_done("cim-0", 0, 1, 0);
    };
    run_one();
    const std::string seen = test::root() + "/seen";
    const std::string out = follow(6, [&] {
        EXPECT_TRUE(test::wait_for_text(seen, "over"));
        run_one();
    });
    const std::string one =
        "the status file begins\ncim-0: at work, step 0\ncim-0: over, the command succeeded\n";
    EXPECT_EQ(out, one + one);
}

TEST_F(status_files, follow_prints_documents_and_ends_when_told) {
    test::write_file(status_, "<T> 0002 DP.DONE 0 1 0\n");
    // The signal is sent once the record is there.
    const std::string dpctl_path = test::program_path("dpctl");
    const auto result = test::run_program(
        "/bin/sh", {"-c", "'" + dpctl_path +
                              "' status --follow --json >seen & pid=$!\n"
                              "i=0; while [ ! -s seen ] && [ $i -lt 1000 ]; do sleep 0.01; "
                              "i=$((i+1)); done\n"
                              "kill -TERM $pid; wait $pid; echo $?; cat seen"});
    ASSERT_TRUE(result.out.starts_with("0\n")) << result.out << result.err;
    EXPECT_EQ(json::parse(result.out.substr(2), nullptr, false),
              json::parse(R"({"transaction": "T", "sequence": 2, "record": "done",
                  "failed": false, "succeeded_commands": 1, "failed_commands": 0})"));
}

// History

TEST_F(status_files, history_lists_changes_newest_last) {
    const dp_service::change_record set{"cim-0", "Tue Nov 14 22:13:20 2023", "Boot.Tag", "a \"b\""};
    const dp_service::change_record empty{"cim-0", "Tue Nov 14 22:13:20 2023", "Boot.Label", ""};
    const dp_service::change_record deleted{
        "cim-1", "Tue Nov 14 22:13:58 2023", "Ports.Speed.2", {}};
    test::write_file(history_, set.line() + '\n' + empty.line() + '\n' + deleted.line() + '\n');
    const auto result = dpctl({"history"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_THAT(result.err, IsEmpty());
    EXPECT_EQ(result.out,
              "TIME                      TRANSACTION  SETTING        VALUE\n"
              "Tue Nov 14 22:13:20 2023  cim-0        Boot.Tag       a \"b\"\n"
              "Tue Nov 14 22:13:20 2023  cim-0        Boot.Label     \"\"\n"
              "Tue Nov 14 22:13:58 2023  cim-1        Ports.Speed.2  -\n");
    EXPECT_EQ(dpctl({"history", "Speed", "Boot.Label", "--last", "1"}).out,
              "TIME                      TRANSACTION  SETTING        VALUE\n"
              "Tue Nov 14 22:13:58 2023  cim-1        Ports.Speed.2  -\n");
    EXPECT_EQ(dpctl({"history", "Memory"}).out,
              history_ + " tells of no change of what you name.\n");
    const json document = json_output({"history", "--last", "2"});
    ASSERT_EQ(document["changes"].size(), 2U);
    EXPECT_EQ(document["changes"][0]["value"], "");
    EXPECT_EQ(document["changes"][1],
              json::parse(R"({"time": "Tue Nov 14 22:13:58 2023", "transaction": "cim-1",
                  "name": "Ports.Speed.2", "value": null})"));
}

TEST_F(status_files, history_notes_what_it_leaves_out) {
    EXPECT_EQ(dpctl({"history"}).out, "No change was made: " + history_ + " does not exist.\n");
    test::write_file(history_, "");
    EXPECT_EQ(dpctl({"history"}).out, "No change was made: " + history_ + " tells of none.\n");
    test::write_file(history_, "rubbish\n<cim-0> Tue Nov 14 22:13:20 2023   Boot.T");
    const auto result = dpctl({"history"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.err, "dpctl: " + history_ +
                              ": left out 1 line that is no change\n"
                              "dpctl: " +
                              history_ + ": left out the last line, which is incomplete\n");
    EXPECT_EQ(json_output({"history"})["foreign_lines"], 1);
}

}  // namespace
