#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <thread>

#include "logs/process_log.hpp"
#include "service_api/change_record.hpp"
#include "tests/support/program.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/system/tools/dpctl/dpctl_json.hpp"

namespace {

using dp_service::change_record;
using nlohmann::json;
using test::dpctl;
using test::dpctl_json;
using testing::HasSubstr;
using testing::IsEmpty;

class dpctl_status : public testing::Test {
  protected:
    dpctl_status() { test::clean_root(); }

    std::string status_ = test::root() + "/tmp/dp/status";
    std::string history_ = test::root() + "/var/dp/history";
};

class dpctl_history : public dpctl_status {};

TEST_F(dpctl_status, shows_failed_commands_and_reasons) {
    dp::process_log log(status_, false);
    EXPECT_EQ(dpctl({"status"}).out,
              "No transaction has begun: " + status_ + " contains only its first record.\n");
    log.log_working("cim-0", 0);
    EXPECT_THAT(dpctl({"status"}).out, HasSubstr("Transaction  cim-0\n"
                                                 "Progress     running, step 0\n"
                                                 "Written      "));
    log.log_error("cim-0", "Boot.Mode", 48);
    log.log_error("cim-0", "Boot.Vendor", 55);
    log.log_outfile("cim-0", "/tmp/dp/batch.out");
    log.log_done("cim-0", 1, 1, 2);
    const auto result = dpctl({"status"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_THAT(result.err, IsEmpty());
    EXPECT_THAT(result.out, HasSubstr("Progress     finished, 2 of 3 commands failed\n"
                                      "Answer       /tmp/dp/batch.out\n"));
    EXPECT_THAT(result.out,
                HasSubstr("\nFAILED       STATUS  REASON\n"
                          "Boot.Mode    48      the value is not one of its possible values\n"
                          "Boot.Vendor  55      it is read-only\n"));
    const json document = dpctl_json({"status"});
    EXPECT_EQ(document["file"], status_);
    EXPECT_EQ(document["over"], true);
    EXPECT_EQ(document["failed_commands"], 2);
    EXPECT_EQ(document["failed"][1]["name"], "Boot.Vendor");
    EXPECT_FALSE(document["written"].get<std::string>().empty());
}

TEST_F(dpctl_status, reports_a_missing_empty_or_foreign_file) {
    EXPECT_EQ(dpctl({"status"}).out, "No transaction has run: " + status_ + " does not exist.\n");
    EXPECT_EQ(dpctl_json({"status"})["exists"], false);
    test::write_file(status_, "");
    EXPECT_EQ(dpctl({"status"}).out, status_ + " is empty.\n");
    test::write_file(status_, "one\ntwo\n<T> 0002 DP.WOR");
    EXPECT_EQ(dpctl({"status"}).out, status_ +
                                         " contains no status records.\n"
                                         "Ignored: 2 lines that are not status records.\n"
                                         "Ignored: the last line, which is incomplete.\n");
    EXPECT_EQ(dpctl_json({"status"})["incomplete"], true);
}

TEST_F(dpctl_status, reports_dropped_records_and_earlier_transactions) {
    test::write_file(status_,
                     "<A> 0102 DP.DONE 0 1 0\n<B> 0103 DP.WORKING 0\n<B> 0104 DP.MESSAGE a b\n");
    const auto result = dpctl({"status"});
    EXPECT_THAT(result.out, HasSubstr("Message      a b\n"));
    EXPECT_THAT(result.out, HasSubstr("The file also contains 1 earlier transaction.\n"
                                      "The oldest records were dropped from the file.\n"));
}

TEST_F(dpctl_status, prints_no_raw_control_bytes) {
    test::write_file(status_, "<\x1b[2J> 0002 DP.ERROR \x1b]0;x\x07 55\n");
    const auto result = dpctl({"status"});
    EXPECT_THAT(result.out, Not(HasSubstr("\x1b")));
    EXPECT_THAT(result.out, HasSubstr("\\x1b[2J"));
}

TEST_F(dpctl_status, refuses_a_given_file_that_is_missing_or_not_a_file) {
    test::write_file(test::root() + "/other", "<T> 0002 DP.DONE 0 2 0\n");
    EXPECT_THAT(dpctl({"status", "--file", "other"}).out,
                HasSubstr("Progress     finished, all 2 commands succeeded\n"));
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

// Follows the status file until `count` lines are printed, while `work` runs in another thread. The
// lines are written to the file "seen", messages to "err".
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

TEST_F(dpctl_status, follow_prints_every_record_of_a_file_that_is_created_later) {
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
              "start of the status file\n"
              "cim-0: running, step 0\n"
              "cim-0: running, step 1\n"
              "cim-0: Boot.Vendor failed: it is read-only (status 55)\n"
              "cim-0: the answer is in /tmp/dp/batch.out\n"
              "cim-0: finished, 1 of 2 commands failed\n");
}

TEST_F(dpctl_status, follow_prints_another_transaction_with_the_same_bytes) {
    const auto run_one = [&] {
        dp::process_log log(status_, false);
        log.log_working("cim-0", 0);
        log.log_done("cim-0", 0, 1, 0);
    };
    run_one();
    const std::string seen = test::root() + "/seen";
    const std::string out = follow(6, [&] {
        EXPECT_TRUE(test::wait_for_text(seen, "finished"));
        run_one();
    });
    const std::string lines =
        "start of the status file\ncim-0: running, step 0\n"
        "cim-0: finished, the command succeeded\n";
    EXPECT_EQ(out, lines + lines);
}

TEST_F(dpctl_status, follow_prints_documents_and_ends_on_a_signal) {
    test::write_file(status_, "<T> 0002 DP.DONE 0 1 0\n");
    // The signal is sent after the record was printed.
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

TEST_F(dpctl_history, lists_changes_with_the_newest_last) {
    const change_record set{"cim-0,id=01ab,uid=0", "2023-11-14T22:13:20+01:00", "Boot.Tag",
                            "a \"b\"", "x"};
    const change_record empty{
        "cim-0,id=01ab,uid=0", "2023-11-14T22:13:20+01:00", "Boot.Label", "", "y", "Tag is \"a\""};
    const change_record deleted{"cim-1", "Tue Nov 14 22:13:58 2023", "Ports.Speed.2", {}};
    test::write_file(history_, set.line() + '\n' + empty.line() + '\n' + deleted.line() + '\n');
    const auto result = dpctl({"history"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_THAT(result.err, IsEmpty());
    EXPECT_EQ(
        result.out,
        "TIME                       TRANSACTION  CLIENT  ID    SETTING        FROM  TO     "
        "BECAUSE\n"
        "2023-11-14T22:13:20+01:00  cim-0        uid=0   01ab  Boot.Tag       x     a \"b\"  -\n"
        "2023-11-14T22:13:20+01:00  cim-0        uid=0   01ab  Boot.Label     y     \"\"     "
        "Tag is \"a\"\n"
        "Tue Nov 14 22:13:58 2023   cim-1        -       -     Ports.Speed.2  -     -      -\n");
    EXPECT_EQ(dpctl({"history", "Speed", "Boot.Label", "--last", "1"}).out,
              "TIME                      TRANSACTION  CLIENT  ID  SETTING        FROM  TO  "
              "BECAUSE\n"
              "Tue Nov 14 22:13:58 2023  cim-1        -       -   Ports.Speed.2  -     -   -\n");
    EXPECT_EQ(dpctl({"history", "Memory"}).out,
              history_ + " contains no changes of these names.\n");
    const json document = dpctl_json({"history", "--last", "2"});
    ASSERT_EQ(document["changes"].size(), 2U);
    EXPECT_EQ(document["changes"][0],
              json::parse(R"({"time": "2023-11-14T22:13:20+01:00", "transaction": "cim-0",
                  "id": "01ab", "client": "uid=0", "on_behalf_of": "", "name": "Boot.Label",
                  "previous": "y",
                  "value": "", "cause": "Tag is \"a\""})"));
    EXPECT_EQ(document["changes"][1],
              json::parse(R"({"time": "Tue Nov 14 22:13:58 2023", "transaction": "cim-1",
                  "id": "", "client": "", "on_behalf_of": "", "name": "Ports.Speed.2",
                  "previous": null,
                  "value": null, "cause": ""})"));
}

TEST_F(dpctl_history, names_the_person_for_whom_a_client_acted) {
    const change_record set{"client-7,id=01ab,uid=9,gid=9,pid=7,for=eve,program=/usr/sbin/portal",
                            "2023-11-14T22:13:20+01:00", "Boot.Tag", "x", "y"};
    test::write_file(history_, set.line() + '\n');
    EXPECT_THAT(dpctl({"history"}).out,
                testing::HasSubstr(
                    "  client-7     eve with uid=9,gid=9,pid=7,program=/usr/sbin/portal  01ab  "));
    const json change = dpctl_json({"history"})["changes"].at(0);
    EXPECT_EQ(change["client"], "uid=9,gid=9,pid=7,program=/usr/sbin/portal");
    EXPECT_EQ(change["on_behalf_of"], "eve");
}

TEST_F(dpctl_history, reports_ignored_lines) {
    EXPECT_EQ(dpctl({"history"}).out, "No changes were made: " + history_ + " does not exist.\n");
    test::write_file(history_, "");
    EXPECT_EQ(dpctl({"history"}).out, "No changes were made: " + history_ + " contains none.\n");
    test::write_file(history_, "rubbish\n<cim-0> Tue Nov 14 22:13:20 2023   Boot.T");
    const auto result = dpctl({"history"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.err, "dpctl: " + history_ +
                              ": ignored 1 line that is not a change\n"
                              "dpctl: " +
                              history_ + ": ignored the last line, which is incomplete\n");
    EXPECT_EQ(dpctl_json({"history"})["foreign_lines"], 1);
}

}  // namespace
