#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>

#include "common/file_locks.hpp"
#include "service_api/change_record.hpp"
#include "tests/support/eventually.hpp"
#include "tests/support/sample_template.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/system/dp_settingsd/settingsd_fixture.hpp"

namespace {

using test::eventually;
using test::service_process;

class dp_settingsd_history : public test::settingsd_fixture {};

std::string history_file() {
    return service_process::path("/var/dp/history");
}

const std::string some_time(25, 'T');

// The history with every time replaced by `some_time`, and without the transactions' identifiers
// and the owner of their batch files. Expects that every line is a change record.
std::string history() {
    const std::string text = test::read_file(history_file());
    EXPECT_TRUE(text.empty() || text.ends_with('\n'));
    std::istringstream in(text);
    std::string plain;
    for (std::string line; std::getline(in, line);) {
        auto record = dp_service::change_record::parse(line);
        EXPECT_TRUE(record) << line;
        if (record) {
            std::tm parts{};
            EXPECT_NE(strptime(record->time.c_str(), "%Y-%m-%dT%H:%M:%S", &parts), nullptr);
            EXPECT_EQ(record->time.size(), some_time.size());
            record->time = some_time;
            const std::string owner = ",uid=" + std::to_string(geteuid());
            const std::size_t id = record->who.find(",id=");
            if (record->who != dp_service::change_record::by_service) {
                EXPECT_EQ(record->who.substr(std::min(id, record->who.size())).size(),
                          std::string(",id=0123456789abcdef").size() + owner.size())
                    << line;
                EXPECT_TRUE(record->who.ends_with(owner)) << line;
                record->who.erase(std::min(id, record->who.size()));
            }
            plain += record->line() + '\n';
        }
    }
    return plain;
}

TEST_F(dp_settingsd_history, contains_the_changes_of_all_transactions) {
    start();
    service_process::run_batch(
        "0 1 <cim-0> set Boot.Mode \"Legacy\" \"\"\n"
        "0 2 <cim-0> set Boot.Mode \"CSM\" \"\"\n"
        "0 3 <cim-0> get Boot.Mode \"\" \"\"\n"
        "0 4 <cim-0> set Boot.Label \"a \\\"b\\\"\" \"\"\n");
    const std::string first = "<cim-0> " + some_time +
                              "   Boot.Mode   \"Legacy\"   was \"UEFI\"\n" + "<cim-0> " +
                              some_time + "   Boot.Label   \"a \\\"b\\\"\"   was \"disk\"\n";
    EXPECT_EQ(history(), first);
    service_process::run_batch("0 1 two get Boot.Mode \"\" \"\"\n");
    service_process::run_batch("0 1 two set Boot.Mode \"Legacy\" \"\"\n");
    EXPECT_EQ(history(), first);
    service_process::run_batch(
        "0 1 two delete Ports.Speed.2 \"\" \"\"\n"
        "0 2 two set Ports.User.3 \"ann\" \"\"\n");
    const std::string second = "<two> " + some_time + "   Ports.Speed.2   was \"10\"\n<two> " +
                               some_time + "   Ports.User.3   \"ann\"\n";
    EXPECT_EQ(history(), first + second);
    struct stat info {};
    ASSERT_EQ(stat(history_file().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0600U);

    EXPECT_EQ(server.stop(), 0);
    start();
    service_process::run_batch("0 1 three set Boot.Mode \"UEFI\" \"\"\n");
    EXPECT_EQ(history(), first + second + "<three> " + some_time +
                             "   Boot.Mode   \"UEFI\"   was \"Legacy\"\n");
}

TEST_F(dp_settingsd_history, removes_an_incomplete_last_line) {
    start();
    EXPECT_EQ(server.stop(SIGKILL), 128 + SIGKILL);
    test::write_file(history_file(),
                     "<dp_settingsd> 2023-11-14T22:13:20+01:00   (BIOS)   \"x\"\n<t> 2023-");
    start();
    service_process::run_batch("0 1 t set Boot.Mode \"Legacy\" \"\"\n");
    EXPECT_EQ(history(), "<dp_settingsd> " + some_time + "   (BIOS)   \"x\"\n<t> " + some_time +
                             "   Boot.Mode   \"Legacy\"   was \"UEFI\"\n");
}

std::string journal_file() {
    return history_file() + ".pending";
}

bool has_new_value() {
    return test::read_file(service_process::pending()).find("Boot.Mode \"Legacy\"") !=
           std::string::npos;
}

const std::string new_line = "<t> " + some_time + "   Boot.Mode   \"Legacy\"   was \"UEFI\"\n";

// The service's log as a named pipe: a full pipe blocks the service at its next log line. Create it
// before the service starts, and fill it afterwards.
class full_log {
  public:
    full_log() {
        const std::string name = service_process::path("/service.log");
        EXPECT_EQ(mkfifo(name.c_str(), 0600), 0);
        pipe_ = open(name.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    }
    ~full_log() {
        close(pipe_);
        unlink(service_process::path("/service.log").c_str());
    }
    full_log(const full_log&) = delete;
    full_log& operator=(const full_log&) = delete;

    void fill() const {
        const std::string text(4096, '-');
        while (write(pipe_, text.data(), text.size()) > 0) {
        }
        EXPECT_EQ(errno, EAGAIN);
    }

  private:
    int pipe_;
};

TEST_F(dp_settingsd_history,
       is_completed_at_the_next_start_after_a_kill_between_values_and_history) {
    {
        const full_log log;
        start();
        log.fill();
        // The history cannot be written, and the service blocks when it logs that.
        std::filesystem::create_directory(history_file());
        service_process::write_batch("0 1 t set Boot.Mode \"Legacy\" \"\"\n");
        ASSERT_TRUE(eventually(has_new_value));
        EXPECT_EQ(server.stop(SIGKILL), 128 + SIGKILL);
    }
    EXPECT_FALSE(std::filesystem::exists(service_process::result()));
    std::filesystem::remove(history_file());
    const std::string journal = test::read_file(journal_file());
    EXPECT_NE(journal, "");
    start();
    EXPECT_EQ(history(), new_line);
    EXPECT_FALSE(std::filesystem::exists(journal_file()));
    // The batch was run again, which changed nothing.
    EXPECT_EQ(service_process::wait_for_result(), "0 1 t set Boot.Mode \"Legacy\" \"Legacy\" \n");

    // After a kill between the history and the journal's removal, the journal is still there.
    EXPECT_EQ(server.stop(SIGKILL), 128 + SIGKILL);
    test::write_file(journal_file(), journal);
    start();
    EXPECT_EQ(history(), new_line);
    EXPECT_FALSE(std::filesystem::exists(journal_file()));
}

TEST_F(dp_settingsd_history,
       gets_its_lines_from_the_repeated_batch_after_a_kill_before_the_values) {
    start();
    {
        const readlock reader(service_process::pending());
        service_process::write_batch("0 1 t set Boot.Mode \"Legacy\" \"\"\n");
        ASSERT_TRUE(eventually([] { return std::filesystem::exists(journal_file()); }));
        EXPECT_EQ(server.stop(SIGKILL), 128 + SIGKILL);
    }
    EXPECT_FALSE(has_new_value());
    EXPECT_FALSE(std::filesystem::exists(history_file()));
    start();
    EXPECT_NE(
        service_process::log().find("dropped the history's journal: its changes were not made"),
        std::string::npos);
    EXPECT_EQ(service_process::wait_for_result(), "0 1 t set Boot.Mode \"Legacy\" \"Legacy\" \n");
    EXPECT_EQ(history(), new_line);
    EXPECT_FALSE(std::filesystem::exists(journal_file()));
}

TEST_F(dp_settingsd_history, never_prevents_a_start_with_its_journal) {
    const auto expect_dropped_journal = [&] {
        start();
        EXPECT_EQ(test::line_count(service_process::log()), 2U) << service_process::log();
        EXPECT_NE(service_process::log().find("dropped the history's journal: " + journal_file()),
                  std::string::npos);
        EXPECT_FALSE(std::filesystem::exists(std::filesystem::symlink_status(journal_file())));
        EXPECT_EQ(server.stop(), 0);
    };
    start();
    EXPECT_EQ(server.stop(), 0);
    test::write_file(path("/precious"), "precious");
    std::filesystem::create_symlink(path("/precious"), journal_file());
    expect_dropped_journal();
    ASSERT_EQ(mkfifo(journal_file().c_str(), 0600), 0);
    expect_dropped_journal();
    std::filesystem::create_directories(journal_file() + "/full");
    expect_dropped_journal();
    test::write_file(journal_file(), "");
    expect_dropped_journal();
    test::write_file(journal_file(), "");
    ASSERT_EQ(truncate(journal_file().c_str(), off_t{1} << 32), 0);  // a hole of 4 GiB
    expect_dropped_journal();
    EXPECT_EQ(test::read_file(path("/precious")), "precious");
    EXPECT_FALSE(std::filesystem::exists(history_file()));
}

// A batch that sets A.N to a number, with the number as the correlator.
std::string set_number(int number) {
    const std::string text = std::to_string(number);
    return "0 " + text + " t set A.N \"" + text + "\" \"\"\n";
}

// The number of the answered batch; 0 when there is no answer.
int answered_number() {
    if (!std::filesystem::exists(service_process::result())) {
        return 0;
    }
    std::istringstream answer(test::read_file(service_process::result()));
    int status = -1;
    int number = -1;
    answer >> status >> number;
    EXPECT_EQ(status, 0);
    return number;
}

TEST_F(dp_settingsd_history, has_whole_lines_for_all_kept_values_after_kills_at_any_time) {
    service_process::install({test::number("A", "N", "0", 0, 0xFFFFFFFF, 1)}, "B1");
    test::kill_schedule delays(5, std::chrono::microseconds(6'000));
    std::set<int> answered;
    std::set<int> kept;
    int sent = 0;
    for (int round = 0; round < 30; ++round) {
        ASSERT_TRUE(server.start()) << service_process::log();
        kept.insert(std::stoi(test::pending_values().front()));
        test::kill_during_batch(server, set_number(++sent), delays.next());
        // The answer may be that of the preceding batch, which was still there at the start.
        const int last = answered_number();
        if (last != 0) {
            answered.insert(last);
        }
        delays.adapt(last == sent);
    }
    ASSERT_TRUE(server.start());
    kept.insert(std::stoi(test::pending_values().front()));
    EXPECT_NE(service_process::wait_for_result(), "(no result)");
    service_process::run_batch(set_number(++sent));
    EXPECT_EQ(answered_number(), sent);
    answered.insert(sent);
    const std::string text = history();
    for (int value = 1; value <= sent; ++value) {
        const std::string line =
            "<t> " + some_time + "   A.N   \"" + std::to_string(value) + "\"   was \"";
        const std::size_t found = text.find(line);
        EXPECT_TRUE(found != std::string::npos ||
                    !(answered.contains(value) || kept.contains(value)))
            << line;
        EXPECT_TRUE(found == std::string::npos || text.find(line, found + 1) == std::string::npos)
            << line;
    }
    // The test is only conclusive if kills hit both before and after the answer.
    EXPECT_GT(answered.size(), 1U);
    EXPECT_LT(answered.size(), static_cast<std::size_t>(sent));
}

TEST_F(dp_settingsd_history, drops_its_oldest_lines_above_256_kib_and_says_how_many) {
    service_process::install({test::number("A", "N", "100000", 0, 0xFFFFFFFF, 1)}, "B1");
    start();
    int value = 100'000;
    const auto run = [&](int count) {
        std::string batch;
        for (int i = 0; i < count; ++i) {
            batch += "0 1 t set A.N \"" + std::to_string(++value) + "\" \"\"\n";
        }
        service_process::run_batch(batch);
    };
    const auto lines_from = [&](int first) {
        std::string lines;
        for (int i = first; i <= value; ++i) {
            lines += "<t> " + some_time + "   A.N   \"" + std::to_string(i) + "\"   was \"" +
                     std::to_string(i - 1) + "\"\n";
        }
        return lines;
    };
    run(1);
    const std::size_t line = test::read_file(history_file()).size();
    const int most = static_cast<int>(std::size_t{256} * 1024 / line);
    run(most - 1);
    EXPECT_EQ(history(), lines_from(100'001));
    run(1);
    const std::string text = history();
    const int kept = static_cast<int>(std::count(text.begin(), text.end(), '\n')) - 1;
    EXPECT_GE(kept, most * 7 / 10);
    EXPECT_LE(kept, most * 3 / 4);
    const std::string dropped = "<dp_settingsd> " + some_time + "   (history)   \"" +
                                std::to_string(most + 1 - kept) + " older records were dropped\"\n";
    const int first = value - kept + 1;
    EXPECT_EQ(text, dropped + lines_from(first));
    run(10);
    EXPECT_EQ(history(), dropped + lines_from(first));
}

TEST_F(dp_settingsd_history, fails_no_transaction_when_it_cannot_be_written) {
    start();
    std::filesystem::create_symlink(path("/precious"), history_file());
    EXPECT_EQ(service_process::run_batch("0 1 t set Boot.Mode \"Legacy\" \"\"\n"),
              "0 1 t set Boot.Mode \"Legacy\" \"Legacy\" \n");
    EXPECT_FALSE(std::filesystem::exists(path("/precious")));
    EXPECT_NE(service_process::log().find(
                  "changes are missing from the history: " + history_file() + " is a symlink"),
              std::string::npos);
}

}  // namespace
