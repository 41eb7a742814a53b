#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <random>
#include <set>
#include <sstream>
#include <thread>

#include "batch/batch_file_settings_rdr.hpp"
#include "common/file_locks.hpp"
#include "platform/dp/alerts.hpp"
#include "platform/fm/alerts.hpp"
#include "platform/posix/efi_compressor.hpp"
#include "service_api/change_record.hpp"
#include "service_api/service_status.hpp"
#include "tests/support/alert_listener.hpp"
#include "tests/support/eventually.hpp"
#include "tests/support/own_queues.hpp"
#include "tests/support/program.hpp"
#include "tests/support/sample_template.hpp"
#include "tests/support/service_process.hpp"
#include "tests/support/test_platform.hpp"

namespace {

using test::eventually;
using test::service_process;

class settingsd : public testing::Test {
  protected:
    service_process server;

    void start() { ASSERT_TRUE(server.start()) << service_process::log(); }

    // The service ends at once, with exit code 1 and, beside its ordinary log, this one line.
    void expect_refusal(const std::string& line) {
        EXPECT_FALSE(server.start());
        EXPECT_EQ(server.wait(), 1);
        std::istringstream log(service_process::log());
        std::string told;
        for (std::string one; std::getline(log, one);) {
            told += one.find("] LOG ") == std::string::npos ? one + "\n" : "";
        }
        EXPECT_EQ(told, "dp_settingsd: " + line + "\n");
    }

    static std::string path(const std::string& below_root) {
        return service_process::path(below_root);
    }
};

std::size_t line_count(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

// Writes a batch and kills the service at the moment `after`, counted from before the writing:
// where the service gets the processor at once, it may be through before the writer goes on.
void kill_amid_batch(service_process& server, const std::string& text,
                     std::chrono::microseconds after) {
    std::atomic<bool> is_set = false;
    std::thread killer([&] {
        is_set = true;
        std::this_thread::sleep_for(after);
        server.send(SIGKILL);
    });
    while (!is_set) {
        std::this_thread::yield();
    }
    service_process::write_batch(text);
    killer.join();
    EXPECT_EQ(server.wait(), 128 + SIGKILL);
}

// The moments of such kills. They follow the machine's speed: earlier after an answer, later
// without one.
class kill_moments {
  public:
    kill_moments(unsigned seed, std::chrono::microseconds first) : random_(seed), longest_(first) {}

    std::chrono::microseconds next() {
        using ticks = std::chrono::microseconds::rep;
        return std::chrono::microseconds(static_cast<ticks>(random_()) % (longest_.count() + 1));
    }
    void adapt(bool was_answered) {
        constexpr std::chrono::microseconds little(100);
        constexpr std::chrono::microseconds most = std::chrono::seconds(20);
        longest_ = was_answered ? longest_ / 2 : std::min(longest_ * 3 + little, most);
    }

  private:
    std::mt19937 random_;
    std::chrono::microseconds longest_;
};

// --- usage and start

TEST_F(settingsd, tells_what_it_is) {
    const auto help = test::run_program("dp_settingsd", {"--help"});
    EXPECT_EQ(help.exit_code, 0);
    EXPECT_NE(help.out.find(path("/var/dp")), std::string::npos);
    const auto version = test::run_program("dp_settingsd", {"--version"});
    EXPECT_EQ(version.exit_code, 0);
    EXPECT_EQ(version.out.rfind("dp_settingsd ", 0), 0U);
    const auto lost = test::run_program(
        "/bin/sh", {"-c", test::program_path("dp_settingsd") + " --version >/dev/full"});
    EXPECT_EQ(lost.exit_code, 1);
    EXPECT_EQ(lost.err, "dp_settingsd: a part of the output could not be written\n");
}

TEST_F(settingsd, wrong_usage_exits_with_2) {
    for (const char* argument : {"--frob", "word", "-x"}) {
        const auto result = test::run_program("dp_settingsd", {argument});
        EXPECT_EQ(result.exit_code, 2) << argument;
        EXPECT_NE(result.err, "");
    }
}

TEST_F(settingsd, makes_its_folders_for_its_user_only_and_narrows_those_that_are_there) {
    start();
    for (const char* folder : {"/tmp/dp", "/var/dp"}) {
        struct stat info {};
        ASSERT_EQ(stat(path(folder).c_str(), &info), 0);
        EXPECT_EQ(info.st_mode & 07777, 0700U) << folder;
    }
    EXPECT_EQ(server.stop(), 0);
    std::filesystem::remove_all(path("/tmp"));
    start();
    EXPECT_NE(service_process::run_batch("0 1 t get Boot.Mode \"\" \"\"\n"), "");
}

TEST_F(settingsd, started_without_standard_streams_it_serves_and_prints_into_no_file) {
    start();
    EXPECT_EQ(server.stop(), 0);
    service_process::write_batch("0 1 t set Boot.Mode \"Legacy\" \"\"\n");
    server.launch_without_streams();
    EXPECT_EQ(service_process::wait_for_result(), "0 1 t set Boot.Mode \"Legacy\" \"Legacy\" \n");
    EXPECT_NE(service_process::run_batch("0 2 t get Boot.Mode \"\" \"\"\n"), "(no result)");
    EXPECT_EQ(server.stop(), 0);
    EXPECT_EQ(test::read_file(path("/var/dp/dp_settingsd.lock")), "");
    EXPECT_EQ(service_process::log(), "");
}

TEST_F(settingsd, the_first_start_writes_values_and_build_id) {
    start();
    const std::string values = test::read_file(service_process::pending());
    EXPECT_NE(values.find("Boot.Mode \"UEFI\" \"\""), std::string::npos);
    EXPECT_EQ(test::read_file(service_process::current()), values);
    EXPECT_EQ(test::read_file(path("/tmp/dp/uefi.bld")), "B1\n");
}

TEST_F(settingsd, a_missing_or_broken_template_is_refused) {
    const std::string bios = path("/var/dp/uefi_template.efi");
    const std::string whole = test::read_file(bios);
    ASSERT_EQ(unlink(bios.c_str()), 0);
    expect_refusal("cannot open " + bios + ": No such file or directory");
    for (const std::string& broken :
         {std::string(), std::string("no template"), whole.substr(0, whole.size() / 2)}) {
        test::write_file(bios, broken);
        EXPECT_FALSE(server.start());
        EXPECT_EQ(server.wait(), 1);
        EXPECT_NE(service_process::log().find("dp_settingsd: " + path("/bin/dpspy") +
                                              " failed with exit code 1\n"),
                  std::string::npos)
            << service_process::log();
    }
    EXPECT_FALSE(std::filesystem::exists(service_process::pending()));
}

TEST_F(settingsd, folders_and_files_that_are_links_are_refused) {
    const std::string aside = path("/aside");
    for (const char* name :
         {"/tmp/dp", "/var/dp", "/var/dp/uefi_template.efi", "/var/dp/uefi_settings.txt",
          "/var/dp/uefi_current.txt", "/var/dp/vpd.txt", "/var/dp/dp_settingsd.lock",
          "/tmp/dp/uefi_info.txt", "/tmp/dp/uefi.bld"}) {
        const std::string real = path(name);
        const bool was_there = std::filesystem::exists(real);
        if (was_there) {
            std::filesystem::rename(real, aside);
        } else {
            test::write_file(aside, "");
        }
        std::filesystem::create_symlink(aside, real);
        expect_refusal(real + " is a link");
        std::filesystem::remove(real);
        if (was_there) {
            std::filesystem::rename(aside, real);
        } else {
            std::filesystem::remove(aside);
        }
    }
    start();
}

TEST_F(settingsd, folders_and_files_of_somebody_else_are_refused) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give files away";
    }
    for (const char* name : {"/tmp/dp", "/var/dp", "/var/dp/uefi_template.efi"}) {
        ASSERT_EQ(chown(path(name).c_str(), 12345, 12345), 0);
        expect_refusal(path(name) + " belongs to user 12345, not to user 0");
        ASSERT_EQ(chown(path(name).c_str(), 0, 0), 0);
    }
}

TEST_F(settingsd, one_instance_runs_at_a_time) {
    start();
    const auto second = test::run_program("dp_settingsd", {});
    EXPECT_EQ(second.exit_code, 1);
    EXPECT_EQ(second.err,
              "dp_settingsd: already running as process " + std::to_string(server.pid()) + "\n");
    EXPECT_EQ(service_process::run_batch("0 1 t get Boot.Mode \"\" \"\"\n"),
              "0 1 t get Boot.Mode \"\" \"UEFI\" \n");
    EXPECT_EQ(server.stop(SIGKILL), 128 + SIGKILL);
    start();
}

// --- batches

TEST_F(settingsd, every_line_of_a_batch_is_answered_in_order) {
    start();
    const std::string too_long = "0 104 <cim-7> set Boot.Label \"" + std::string(70'000, 'x');
    EXPECT_EQ(
        service_process::run_batch("# changes\n"
                                   "0 100 <cim-7> set Boot.Mode \"Legacy\" \"\" \n"
                                   "0 101 <cim-7> set Boot.Mode \"CSM\" \"\" \n"
                                   "0 102 <cim-7> set Boot.Gone \"1\" \"\" \n"
                                   "0 103 <cim-7> set Boot.Delay \"5\" \"\" and more\n" +
                                   too_long +
                                   "\" \"\" \n"
                                   "\n"
                                   "0 105 <cim-7> set Boot.Delay \"1000\" \"\" \n"
                                   "0 106 <cim-7> set Boot.Delay \"7\" \"\" \n"
                                   "0 107 <cim-7> set Boot.Delay \"x\" \"\" \n"
                                   "0 108 <cim-7> set Boot.Label \"twenty-one characters\" \"\" \n"
                                   "0 109 <cim-7> set Boot.Vendor \"other\" \"\" \n"
                                   "0 110 <cim-7> get Boot.Mode \"\" \"\" \n"
                                   "0 111 <cim-7> frob Boot.Mode \"\" \"\" \n"
                                   "0 112 <cim-7> cmd_export Boot.Mode \"\" \"\" \n"
                                   "0 113 <cim-7> get Ports.Speed.9 \"\" \"\" \n"
                                   "0 114 <cim-7> delete Boot.Mode \"\" \"\" \n"),
        "0 100 <cim-7> set Boot.Mode \"Legacy\" \"Legacy\" \n"
        "48 101 <cim-7> set Boot.Mode \"CSM\" \"\" \n"
        "16 102 <cim-7> set ERR.INVALID_SETTING \"1\" \"\" \n"
        "57 103 <cim-7> set Boot.Delay \"\" \"\" \n"
        "57 104 <cim-7> set Boot.Label \"\" \"\" \n"
        "50 105 <cim-7> set Boot.Delay \"1000\" \"\" \n"
        "51 106 <cim-7> set Boot.Delay \"7\" \"\" \n"
        "49 107 <cim-7> set Boot.Delay \"x\" \"\" \n"
        "53 108 <cim-7> set Boot.Label \"twenty-one characters\" \"\" \n"
        "55 109 <cim-7> set Boot.Vendor \"other\" \"\" \n"
        "0 110 <cim-7> get Boot.Mode \"\" \"Legacy\" \n"
        "224 111 <cim-7> unknown Boot.Mode \"\" \"\" \n"
        "58 112 <cim-7> command export Boot.Mode \"\" \"\" \n"
        "59 113 <cim-7> get Ports.Speed.9 \"\" \"\" \n"
        "226 114 <cim-7> delete Boot.Mode \"\" \"\" \n");
    EXPECT_NE(test::read_file(service_process::pending()).find("Boot.Mode \"Legacy\""),
              std::string::npos);
}

TEST_F(settingsd, a_batch_that_waited_for_the_service_is_run) {
    service_process::write_batch("0 1 t set Boot.Mode \"Legacy\" \"\"\n");
    test::set_mtime(service_process::batch(), 1000);
    start();
    EXPECT_EQ(service_process::wait_for_result(), "0 1 t set Boot.Mode \"Legacy\" \"Legacy\" \n");
}

TEST_F(settingsd, a_compressed_batch_is_run_like_a_plain_one) {
    start();
    EXPECT_EQ(service_process::run_batch(
                  dp_platform::efi_compress("0 1 t set Boot.Mode \"Legacy\" \"\"\n")),
              "0 1 t set Boot.Mode \"Legacy\" \"Legacy\" \n");
}

TEST_F(settingsd, a_batch_is_taken_when_its_writer_is_done_and_not_before) {
    const std::string name = service_process::batch();
    const int early = open(name.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    const std::string half = "0 1 t get Boot.Mode";
    ASSERT_EQ(write(early, half.data(), half.size()), static_cast<ssize_t>(half.size()));
    start();
    EXPECT_TRUE(std::filesystem::exists(name));
    const std::string rest = " \"\" \"\"\n0 2 t get Boot.Delay \"\" \"\"\n";
    ASSERT_EQ(write(early, rest.data(), rest.size()), static_cast<ssize_t>(rest.size()));
    EXPECT_TRUE(std::filesystem::exists(name));
    close(early);
    EXPECT_EQ(service_process::wait_for_result(),
              "0 1 t get Boot.Mode \"\" \"UEFI\" \n0 2 t get Boot.Delay \"\" \"5\" \n");
}

// No event tells the end of this one's writing: it is written below a name in another folder.
TEST_F(settingsd, a_batch_whose_end_is_not_announced_is_taken_when_it_has_no_writer_any_more) {
    start();
    const std::string elsewhere = path("/elsewhere");
    const std::string text = "0 1 t get Boot.Mode \"\" \"\"\n";
    const int writer = open(elsewhere.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_EQ(write(writer, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    ASSERT_EQ(link(elsewhere.c_str(), service_process::batch().c_str()), 0);
    usleep(100'000);
    EXPECT_TRUE(std::filesystem::exists(service_process::batch()));
    close(writer);
    EXPECT_EQ(service_process::wait_for_result(), "0 1 t get Boot.Mode \"\" \"UEFI\" \n");
}

TEST_F(settingsd, a_batch_may_arrive_by_rename_or_as_a_link_to_a_finished_file) {
    start();
    const std::string beside = path("/tmp/dp/beside");
    const std::string text = "0 1 t get Boot.Mode \"\" \"\"\n";
    const std::string answer = "0 1 t get Boot.Mode \"\" \"UEFI\" \n";
    test::write_file(beside, text);
    ASSERT_EQ(rename(beside.c_str(), service_process::batch().c_str()), 0);
    EXPECT_EQ(service_process::wait_for_result(), answer);
    ASSERT_EQ(unlink(service_process::result().c_str()), 0);
    test::write_file(beside, text);
    ASSERT_EQ(link(beside.c_str(), service_process::batch().c_str()), 0);
    EXPECT_EQ(service_process::wait_for_result(), answer);
}

TEST_F(settingsd, what_is_no_batch_file_of_ours_is_refused_and_the_service_goes_on) {
    start();
    const std::string name = service_process::batch();
    const auto is_gone = [&] {
        return !std::filesystem::exists(std::filesystem::symlink_status(name));
    };
    test::write_file(path("/precious"), "precious");
    std::filesystem::create_symlink(path("/precious"), name);
    EXPECT_TRUE(eventually(is_gone));
    ASSERT_EQ(mkfifo(name.c_str(), 0600), 0);
    EXPECT_TRUE(eventually(is_gone));
    ASSERT_EQ(mkdir(name.c_str(), 0700), 0);
    EXPECT_TRUE(eventually(is_gone));
    if (geteuid() == 0) {
        test::write_file(path("/tmp/dp/foreign"), "0 1 t get Boot.Mode \"\" \"\"\n");
        ASSERT_EQ(chown(path("/tmp/dp/foreign").c_str(), 12345, 12345), 0);
        ASSERT_EQ(rename(path("/tmp/dp/foreign").c_str(), name.c_str()), 0);
        EXPECT_TRUE(eventually(is_gone));
    }
    EXPECT_EQ(test::read_file(path("/precious")), "precious");
    EXPECT_FALSE(std::filesystem::exists(service_process::result()));
    EXPECT_EQ(service_process::run_batch("0 1 t get Boot.Mode \"\" \"\"\n"),
              "0 1 t get Boot.Mode \"\" \"UEFI\" \n");
    EXPECT_NE(service_process::log().find(name + " is a link; removed it"), std::string::npos);
}

TEST_F(settingsd, garbage_fails_by_itself) {
    start();
    std::mt19937 random(7);
    std::string garbage;
    for (int i = 0; i < 200'000; ++i) {
        garbage += static_cast<char>(random());
    }
    const std::string result =
        service_process::run_batch(garbage + "\n0 1 t get Boot.Mode \"\" \"\"\n");
    EXPECT_NE(result.find("\n0 1 t get Boot.Mode \"\" \"UEFI\" \n"), std::string::npos);
    EXPECT_EQ(server.stop(), 0);
}

TEST_F(settingsd, a_hundred_thousand_commands_are_answered_one_line_each) {
    start();
    std::ostringstream text;
    for (int i = 0; i < 100'000; ++i) {
        text << "0 " << i << " t set Ports.Speed." << i % 4 + 1 << " \"" << i % 1000 + 1
             << "\" \"\" \n";
    }
    const std::string result = service_process::run_batch(text.str());
    EXPECT_EQ(line_count(result), 100'000U);
    EXPECT_EQ(result.rfind("0 0 t set Ports.Speed.1 \"1\" \"1\" \n", 0), 0U);
    EXPECT_NE(test::read_file(service_process::pending()).find("Ports.Speed.4 \"1000\""),
              std::string::npos);
}

TEST_F(settingsd, batches_that_follow_at_once_are_all_run) {
    start();
    for (int i = 0; i < 200; ++i) {
        const std::string value = std::to_string(i % 13 * 5);
        EXPECT_EQ(service_process::run_batch("0 1 t set Boot.Delay \"" + value + "\" \"\"\n"),
                  "0 1 t set Boot.Delay \"" + value + "\" \"" + value + "\" \n");
    }
}

TEST_F(settingsd, a_result_that_cannot_be_written_is_logged_and_the_service_goes_on) {
    start();
    std::filesystem::create_directories(service_process::result() + "/full");
    test::write_file(service_process::batch(), "0 1 t set Boot.Mode \"Legacy\" \"\"\n");
    EXPECT_TRUE(eventually([] {
        return service_process::log().find("cannot answer a batch: ") != std::string::npos;
    }));
    // It frees the way for the next answer.
    EXPECT_TRUE(eventually([] { return !std::filesystem::exists(service_process::result()); }));
    EXPECT_EQ(service_process::run_batch("0 1 t get Boot.Mode \"\" \"\"\n"),
              "0 1 t get Boot.Mode \"\" \"Legacy\" \n");
}

TEST_F(settingsd, changes_that_cannot_be_written_to_disk_fail_and_did_not_happen) {
    start();
    std::filesystem::rename(path("/var/dp"), path("/var/aside"));
    EXPECT_EQ(service_process::run_batch("0 1 t set Boot.Mode \"Legacy\" \"\"\n"
                                         "0 2 t get Boot.Mode \"\" \"\"\n"
                                         "0 3 t set Boot.Mode \"CSM\" \"\"\n"),
              "56 1 t set Boot.Mode \"Legacy\" \"\" \n"
              "0 2 t get Boot.Mode \"\" \"UEFI\" \n"
              "48 3 t set Boot.Mode \"CSM\" \"\" \n");
    std::filesystem::rename(path("/var/aside"), path("/var/dp"));
    EXPECT_EQ(service_process::run_batch("0 1 t set Boot.Mode \"Legacy\" \"\"\n"),
              "0 1 t set Boot.Mode \"Legacy\" \"Legacy\" \n");
}

// --- the status file

TEST_F(settingsd, the_status_file_tells_of_the_last_transaction) {
    const std::string status = path("/tmp/dp/status");
    const std::string begun = "<dp-status> 0001 DP.MESSAGE init \n";
    const std::string outfile = "DP.OUTFILE " + service_process::result() + "\n";
    start();
    EXPECT_FALSE(std::filesystem::exists(status));
    service_process::run_batch(
        "0 1 <cim-0> set Boot.Mode \"Legacy\" \"\"\n"
        "0 2 <cim-0> get Boot.Mode \"\" \"\"\n");
    EXPECT_EQ(test::read_file(status), begun +
                                           "<cim-0> 0002 DP.WORKING 0\n"
                                           "<cim-0> 0003 DP.WORKING 1\n"
                                           "<cim-0> 0004 " +
                                           outfile + "<cim-0> 0005 DP.DONE 0 2 0\n");
    struct stat info {};
    ASSERT_EQ(stat(status.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0600U);
    service_process::run_batch(
        "0 1 two set Boot.Mode \"CSM\" \"\"\n"
        "0 2 two set Boot.Delay \"7\" \"\"\n"
        "0 3 two get Boot.Delay \"\" \"\"\n"
        "0 4 two get Boot.Gone \"\" \"\"\n");
    EXPECT_EQ(test::read_file(status), begun +
                                           "<two> 0002 DP.WORKING 0\n"
                                           "<two> 0003 DP.WORKING 1\n"
                                           "<two> 0004 " +
                                           outfile +
                                           "<two> 0005 DP.ERROR Boot.Mode 48\n"
                                           "<two> 0006 DP.ERROR Boot.Delay 51\n"
                                           "<two> 0007 DP.DONE 1 1 3\n");
}

TEST_F(settingsd, what_is_planted_as_its_status_file_is_taken_away) {
    start();
    const std::string status = path("/tmp/dp/status");
    test::write_file(path("/precious"), "precious");
    std::filesystem::create_symlink(path("/precious"), status);
    const std::string get = "0 1 t get Boot.Mode \"\" \"\"\n";
    const std::string answer = "0 1 t get Boot.Mode \"\" \"UEFI\" \n";
    EXPECT_EQ(service_process::run_batch(get), answer);
    EXPECT_EQ(test::read_file(path("/precious")), "precious");
    ASSERT_EQ(unlink(status.c_str()), 0);
    ASSERT_EQ(mkfifo(status.c_str(), 0600), 0);
    EXPECT_EQ(service_process::run_batch(get), answer);
    EXPECT_NE(test::read_file(status).find("<t> 0005 DP.DONE 0 1 0\n"), std::string::npos);
}

// --- the history

// The values of the pending file as the library reads them.
std::vector<std::string> pending_values() {
    std::vector<std::string> names;
    std::vector<std::string> values;
    dp::batch_file_settings_rdr reader(&names, &values);
    std::stringstream plain;
    EXPECT_TRUE(reader.decompress(service_process::pending(), plain));
    reader.read_file(plain, nullptr);
    return values;
}

std::string history_file() {
    return service_process::path("/var/dp/history");
}

// The history, its times replaced by an equally long text. A line that is no record fails the test.
const std::string some_time(24, 'T');

std::string history() {
    const std::string text = test::read_file(history_file());
    EXPECT_TRUE(text.empty() || text.ends_with('\n'));
    std::istringstream in(text);
    std::string plain;
    for (std::string line; std::getline(in, line);) {
        auto record = change_record::parse(line);
        EXPECT_TRUE(record) << line;
        if (record) {
            std::tm parts{};
            EXPECT_NE(strptime(record->time.c_str(), "%a %b %d %H:%M:%S %Y", &parts), nullptr);
            EXPECT_EQ(record->time.size(), some_time.size());
            record->time = some_time;
            plain += record->line() + '\n';
        }
    }
    return plain;
}

TEST_F(settingsd, the_history_holds_what_all_transactions_changed) {
    start();
    service_process::run_batch(
        "0 1 <cim-0> set Boot.Mode \"Legacy\" \"\"\n"
        "0 2 <cim-0> set Boot.Mode \"CSM\" \"\"\n"
        "0 3 <cim-0> get Boot.Mode \"\" \"\"\n"
        "0 4 <cim-0> set Boot.Label \"a \\\"b\\\"\" \"\"\n");
    const std::string first = "<cim-0> " + some_time + "   Boot.Mode   \"Legacy\"\n" + "<cim-0> " +
                              some_time + "   Boot.Label   \"a \\\"b\\\"\"\n";
    EXPECT_EQ(history(), first);
    service_process::run_batch("0 1 two get Boot.Mode \"\" \"\"\n");
    service_process::run_batch("0 1 two set Boot.Mode \"Legacy\" \"\"\n");
    EXPECT_EQ(history(), first);
    service_process::run_batch(
        "0 1 two delete Ports.Speed.2 \"\" \"\"\n"
        "0 2 two set Ports.User.3 \"ann\" \"\"\n");
    const std::string second = "<two> " + some_time + "   Ports.Speed.2\n<two> " + some_time +
                               "   Ports.User.3   \"ann\"\n";
    EXPECT_EQ(history(), first + second);
    struct stat info {};
    ASSERT_EQ(stat(history_file().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0600U);

    EXPECT_EQ(server.stop(), 0);
    start();
    service_process::run_batch("0 1 three set Boot.Mode \"UEFI\" \"\"\n");
    EXPECT_EQ(history(), first + second + "<three> " + some_time + "   Boot.Mode   \"UEFI\"\n");
}

TEST_F(settingsd, what_a_kill_left_of_a_history_line_is_cut_off) {
    start();
    EXPECT_EQ(server.stop(SIGKILL), 128 + SIGKILL);
    test::write_file(history_file(),
                     "<t> Tue Nov 14 22:13:20 2023   Boot.Mode   \"UEFI\"\n<t> Tue N");
    start();
    service_process::run_batch("0 1 t set Boot.Mode \"Legacy\" \"\"\n");
    EXPECT_EQ(history(), "<t> " + some_time + "   Boot.Mode   \"UEFI\"\n<t> " + some_time +
                             "   Boot.Mode   \"Legacy\"\n");
}

std::string history_note() {
    return history_file() + ".pending";
}

bool has_new_value() {
    return test::read_file(service_process::pending()).find("Boot.Mode \"Legacy\"") !=
           std::string::npos;
}

const std::string new_line = "<t> " + some_time + "   Boot.Mode   \"Legacy\"\n";

// The service's log as a pipe that takes nothing more: whoever logs waits. To be made before the
// start, filled behind it, and emptied by its end.
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

TEST_F(settingsd, killed_between_the_values_and_the_history_it_brings_the_lines_at_the_next_start) {
    {
        const full_log log;
        start();
        log.fill();
        // The history can't be written, and the service waits to tell it.
        std::filesystem::create_directory(history_file());
        service_process::write_batch("0 1 t set Boot.Mode \"Legacy\" \"\"\n");
        ASSERT_TRUE(eventually(has_new_value));
        EXPECT_EQ(server.stop(SIGKILL), 128 + SIGKILL);
    }
    EXPECT_FALSE(std::filesystem::exists(service_process::result()));
    std::filesystem::remove(history_file());
    const std::string noted = test::read_file(history_note());
    EXPECT_NE(noted, "");
    start();
    EXPECT_EQ(history(), new_line);
    EXPECT_FALSE(std::filesystem::exists(history_note()));
    // The batch was run again, which changed nothing.
    EXPECT_EQ(service_process::wait_for_result(), "0 1 t set Boot.Mode \"Legacy\" \"Legacy\" \n");

    // Killed behind the history, the note may still be there.
    EXPECT_EQ(server.stop(SIGKILL), 128 + SIGKILL);
    test::write_file(history_note(), noted);
    start();
    EXPECT_EQ(history(), new_line);
    EXPECT_FALSE(std::filesystem::exists(history_note()));
}

TEST_F(settingsd, killed_before_the_values_are_in_place_the_batch_that_is_run_again_has_the_lines) {
    start();
    {
        const readlock reader(service_process::pending());
        service_process::write_batch("0 1 t set Boot.Mode \"Legacy\" \"\"\n");
        ASSERT_TRUE(eventually([] { return std::filesystem::exists(history_note()); }));
        EXPECT_EQ(server.stop(SIGKILL), 128 + SIGKILL);
    }
    EXPECT_FALSE(has_new_value());
    EXPECT_FALSE(std::filesystem::exists(history_file()));
    start();
    EXPECT_NE(
        service_process::log().find("dropped the history's lines of changes that were not made"),
        std::string::npos);
    EXPECT_EQ(service_process::wait_for_result(), "0 1 t set Boot.Mode \"Legacy\" \"Legacy\" \n");
    EXPECT_EQ(history(), new_line);
    EXPECT_FALSE(std::filesystem::exists(history_note()));
}

TEST_F(settingsd, whatever_lies_where_it_notes_lines_it_starts) {
    const auto start_and_look = [&] {
        start();
        EXPECT_EQ(line_count(service_process::log()), 2U) << service_process::log();
        EXPECT_NE(service_process::log().find("dropped what should be changes for the history: " +
                                              history_note()),
                  std::string::npos);
        EXPECT_FALSE(std::filesystem::exists(std::filesystem::symlink_status(history_note())));
        EXPECT_EQ(server.stop(), 0);
    };
    start();
    EXPECT_EQ(server.stop(), 0);
    test::write_file(path("/precious"), "precious");
    std::filesystem::create_symlink(path("/precious"), history_note());
    start_and_look();
    ASSERT_EQ(mkfifo(history_note().c_str(), 0600), 0);
    start_and_look();
    std::filesystem::create_directories(history_note() + "/full");
    start_and_look();
    test::write_file(history_note(), "");
    start_and_look();
    test::write_file(history_note(), "");
    ASSERT_EQ(truncate(history_note().c_str(), off_t{1} << 32), 0);  // a hole of 4 GiB
    start_and_look();
    EXPECT_EQ(test::read_file(path("/precious")), "precious");
    EXPECT_FALSE(std::filesystem::exists(history_file()));
}

// A batch that sets A.N to a number, which is the command's correlator too.
std::string set_number(int number) {
    const std::string text = std::to_string(number);
    return "0 " + text + " t set A.N \"" + text + "\" \"\"\n";
}

// The number of the batch that the answer there belongs to; 0 when there is none.
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

TEST_F(settingsd, killed_at_any_moment_the_history_has_whole_lines_for_all_that_was_kept) {
    service_process::install({test::number("A", "N", "0", 0, 0xFFFFFFFF, 1)}, "B1");
    kill_moments moments(5, std::chrono::microseconds(6'000));
    std::set<int> answered;
    std::set<int> kept;
    int sent = 0;
    for (int round = 0; round < 30; ++round) {
        ASSERT_TRUE(server.start()) << service_process::log();
        kept.insert(std::stoi(pending_values().front()));
        kill_amid_batch(server, set_number(++sent), moments.next());
        // The service may just have answered the batch before, which was still there when it began.
        const int last = answered_number();
        if (last != 0) {
            answered.insert(last);
        }
        moments.adapt(last == sent);
    }
    ASSERT_TRUE(server.start());
    kept.insert(std::stoi(pending_values().front()));
    EXPECT_NE(service_process::wait_for_result(), "(no result)");
    service_process::run_batch(set_number(++sent));
    EXPECT_EQ(answered_number(), sent);
    answered.insert(sent);
    const std::string text = history();
    for (int value = 1; value <= sent; ++value) {
        const std::string line =
            "<t> " + some_time + "   A.N   \"" + std::to_string(value) + "\"\n";
        const std::size_t found = text.find(line);
        EXPECT_TRUE(found != std::string::npos ||
                    !(answered.contains(value) || kept.contains(value)))
            << line;
        EXPECT_TRUE(found == std::string::npos || text.find(line, found + 1) == std::string::npos)
            << line;
    }
    // Both kinds of ends occurred, or the test shows nothing.
    EXPECT_GT(answered.size(), 1U);
    EXPECT_LT(answered.size(), static_cast<std::size_t>(sent));
}

TEST_F(settingsd, a_history_of_more_than_256_kib_loses_its_oldest_lines) {
    service_process::install({test::number("A", "N", "0", 0, 0xFFFFFFFF, 1)}, "B1");
    start();
    std::string expected;
    int value = 100'000;
    const auto run = [&](int count) {
        std::string batch;
        for (int i = 0; i < count; ++i) {
            const std::string text = std::to_string(++value);
            batch += "0 1 t set A.N \"" + text + "\" \"\"\n";
            expected += "<t> " + some_time + "   A.N   \"" + text + "\"\n";
        }
        service_process::run_batch(batch);
    };
    const std::size_t line = ("<t> " + some_time + "   A.N   \"100001\"\n").size();
    run(static_cast<int>(std::size_t{256} * 1024 / line));
    EXPECT_EQ(history(), expected);
    run(1);
    expected.erase(0, expected.size() - std::size_t{192} * 1024 / line * line);
    EXPECT_EQ(history(), expected);
    run(10);
    EXPECT_EQ(history(), expected);
}

TEST_F(settingsd, a_history_that_cannot_be_written_holds_nothing_up) {
    start();
    std::filesystem::create_symlink(path("/precious"), history_file());
    EXPECT_EQ(service_process::run_batch("0 1 t set Boot.Mode \"Legacy\" \"\"\n"),
              "0 1 t set Boot.Mode \"Legacy\" \"Legacy\" \n");
    EXPECT_FALSE(std::filesystem::exists(path("/precious")));
    EXPECT_NE(service_process::log().find(
                  "changes are missing from the history: " + history_file() + " is a link"),
              std::string::npos);
}

// --- alerts

class settingsd_alerts : public settingsd {
  protected:
    test::own_queues queues;

    static void set_speed(int value) {
        const std::string text = std::to_string(value);
        EXPECT_EQ(service_process::run_batch("0 1 t set Ports.Speed.1 \"" + text + "\" \"\"\n"),
                  "0 1 t set Ports.Speed.1 \"" + text + "\" \"" + text + "\" \n");
    }
};

TEST_F(settingsd_alerts, tell_of_changes_and_of_those_that_could_not_be_kept) {
    test::plugin_alerts alerts;
    test::firmware_manager_alerts fm_alerts;
    start();
    service_process::run_batch(
        "0 1 t set Boot.Mode \"Legacy\" \"\"\n"
        "0 2 t set Boot.Delay \"10\" \"\"\n"
        "0 3 t set Boot.Delay \"7\" \"\"\n");
    EXPECT_EQ(alerts.next(), "settings_changed plugin=1 value=2");
    service_process::run_batch(
        "0 1 t get Boot.Mode \"\" \"\"\n"
        "0 2 t set Boot.Delay \"10\" \"\"\n");
    EXPECT_EQ(alerts.next(), "none");
    std::filesystem::rename(path("/var/dp"), path("/var/aside"));
    service_process::run_batch("0 1 t set Boot.Mode \"UEFI\" \"\"\n");
    std::filesystem::rename(path("/var/aside"), path("/var/dp"));
    EXPECT_EQ(alerts.next(), "persist_failed plugin=1 value=" + std::to_string(ENOENT));
    EXPECT_EQ(alerts.next(), "none");
    EXPECT_EQ(fm_alerts.next(), "none");
}

TEST_F(settingsd_alerts, count_no_further_than_255) {
    std::vector<template_info> infos;
    std::string batch;
    for (int i = 0; i < 300; ++i) {
        infos.push_back(test::number("A", "N" + std::to_string(i), "0", 0, 9, 1));
        batch += "0 1 t set A.N" + std::to_string(i) + " \"1\" \"\"\n";
    }
    service_process::install(infos, "B1");
    test::plugin_alerts alerts;
    start();
    service_process::run_batch(batch);
    EXPECT_EQ(alerts.next(), "settings_changed plugin=1 value=255");
}

TEST_F(settingsd_alerts, tell_of_restarts_and_updates_on_both_queues) {
    test::plugin_alerts alerts;
    test::firmware_manager_alerts fm_alerts;
    start();
    EXPECT_EQ(service_process::request("restart\n"), "0\n");
    EXPECT_EQ(alerts.next(), "server_restarted plugin=1 value=0");
    EXPECT_EQ(fm_alerts.next(), "server_restarted value=0");
    EXPECT_NE(service_process::request("update\n"), "0\n");
    EXPECT_EQ(alerts.next(), "none");
    service_process::place_update({test::choice("Boot", "Mode", "UEFI", "UEFI,Legacy")}, "B2");
    EXPECT_EQ(service_process::request("update\n"), "0\n");
    EXPECT_EQ(alerts.next(), "bios_updated plugin=1 value=0");
    EXPECT_EQ(alerts.next(), "server_restarted plugin=1 value=0");
    EXPECT_EQ(fm_alerts.next(), "bios_updated value=0");
    EXPECT_EQ(fm_alerts.next(), "server_restarted value=0");
    EXPECT_EQ(alerts.next(), "none");
    EXPECT_EQ(fm_alerts.next(), "none");
}

TEST_F(settingsd_alerts, that_could_reach_nobody_keep_it_from_starting) {
    setenv("DP_QUEUE_PREFIX", "a/b", 1);
    const auto result = test::run_program("dp_settingsd", {});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err,
              "dp_settingsd: DP_QUEUE_PREFIX must be at most 64 letters, digits, '_', '-' and "
              "'.'\n");
}

TEST_F(settingsd_alerts, that_nobody_hears_hold_nothing_up_and_are_not_logged) {
    start();
    set_speed(1);
    EXPECT_EQ(service_process::request("restart\n"), "0\n");
    // A listener that ends without taking its queue away.
    const pid_t child = fork();
    if (child == 0) {
        const dp_platform::message_listener queue(dp::command::alert_queue);
        const dp_platform::message_listener fm_queue(fm::command::alert_queue);
        _exit(queue.is_open() && fm_queue.is_open() ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_EQ(status, 0);
    set_speed(2);
    EXPECT_EQ(service_process::request("restart\n"), "0\n");
    EXPECT_EQ(service_process::log().find("ERROR"), std::string::npos) << service_process::log();
    test::plugin_alerts alerts;
    test::firmware_manager_alerts fm_alerts;
    EXPECT_EQ(alerts.next(), "none");
    set_speed(3);
    EXPECT_EQ(alerts.next(), "settings_changed plugin=1 value=1");
}

TEST_F(settingsd_alerts, that_find_the_queue_full_hold_nothing_up) {
    test::plugin_alerts alerts;
    test::firmware_manager_alerts fm_alerts;
    start();
    for (int i = 1; i <= 20; ++i) {
        set_speed(i % 10 + 20);
        EXPECT_EQ(service_process::request("restart\n"), "0\n");
    }
    EXPECT_NE(service_process::log().find("FAILED to send alert"), std::string::npos);
    for (int i = 1; i <= 5; ++i) {
        EXPECT_EQ(alerts.next(), "settings_changed plugin=1 value=1");
        EXPECT_EQ(alerts.next(), "server_restarted plugin=1 value=0");
    }
    EXPECT_EQ(alerts.next(), "none");
    set_speed(3);
    EXPECT_EQ(alerts.next(), "settings_changed plugin=1 value=1");
}

TEST_F(settingsd, an_exchange_folder_that_is_removed_is_made_anew) {
    start();
    std::filesystem::remove_all(path("/tmp/dp"));
    ASSERT_TRUE(eventually([] {
        return service_process::log().find("the exchange folder went away") != std::string::npos &&
               std::filesystem::exists(service_process::path("/tmp/dp"));
    }));
    EXPECT_EQ(service_process::run_batch("0 1 t get Boot.Mode \"\" \"\"\n"),
              "0 1 t get Boot.Mode \"\" \"UEFI\" \n");
}

// --- ends

TEST_F(settingsd, stops_when_asked) {
    for (const int signal : {SIGTERM, SIGINT}) {
        start();
        EXPECT_EQ(server.stop(signal), 0) << service_process::log();
    }
}

TEST_F(settingsd, finishes_the_batch_that_it_runs_before_it_stops) {
    start();
    std::ostringstream text;
    for (int i = 0; i < 300'000; ++i) {
        text << "0 " << i << " t set Ports.Speed.1 \"" << i % 1000 + 1 << "\" \"\" \n";
    }
    service_process::write_batch(text.str());
    ASSERT_TRUE(eventually([] { return !std::filesystem::exists(service_process::batch()); }));
    EXPECT_EQ(server.stop(), 0);
    EXPECT_EQ(line_count(test::read_file(service_process::result())), 300'000U);
    EXPECT_FALSE(std::filesystem::exists(path("/tmp/dp/batch.run")));
}

TEST_F(settingsd, killed_at_any_moment_it_keeps_whole_batches_and_all_that_it_answered) {
    constexpr int attributes = 300;
    constexpr int rounds = 40;
    std::vector<template_info> infos;
    for (int i = 0; i < attributes; ++i) {
        infos.push_back(test::number("A", "N" + std::to_string(i), "0", 0, 0xFFFFFFFF, 1));
    }
    service_process::install(infos, "B1");
    kill_moments moments(20240517, std::chrono::microseconds(12'000));
    int answered = 0;  // the value of the last batch whose answer was seen
    int sent = 0;
    int seen_in_the_act = 0;
    for (int round = 0; round < rounds; ++round) {
        ASSERT_TRUE(server.start()) << service_process::log();
        // What was sent before the last end is carried out now, if it was not before.
        if (sent > answered) {
            ASSERT_NE(service_process::wait_for_result(), "(no result)");
            answered = sent;
        }
        std::ostringstream text;
        ++sent;
        for (int i = 0; i < attributes; ++i) {
            text << "0 " << i << " t set A.N" << i << " \"" << sent << "\" \"\" \n";
        }
        kill_amid_batch(server, text.str(), moments.next());

        const bool was_answered = std::filesystem::exists(service_process::result());
        if (was_answered) {
            const std::string result = test::read_file(service_process::result());
            ASSERT_EQ(line_count(result), static_cast<std::size_t>(attributes));
            EXPECT_EQ(result.find("\n0 299 t set A.N299 ") != std::string::npos, true);
            answered = sent;
        }
        const auto values = pending_values();
        ASSERT_EQ(values.size(), static_cast<std::size_t>(attributes));
        const std::set<std::string> different(values.begin(), values.end());
        ASSERT_EQ(different.size(), 1U) << "part of a batch";
        const int kept = std::stoi(*different.begin());
        EXPECT_TRUE(kept == answered || kept == sent) << kept;
        seen_in_the_act += was_answered ? 0 : 1;
        moments.adapt(was_answered);
    }
    // Both kinds of ends occurred, or the test shows nothing.
    EXPECT_GT(seen_in_the_act, 0);
    EXPECT_LT(seen_in_the_act, rounds);
}

// --- the simulated server

TEST_F(settingsd, a_restart_makes_pending_values_current) {
    start();
    service_process::run_batch("0 1 t set Boot.Mode \"Legacy\" \"\"\n");
    EXPECT_EQ(test::read_file(service_process::current()).find("Legacy"), std::string::npos);
    EXPECT_EQ(service_process::request("restart\n"), "0\n");
    EXPECT_EQ(test::read_file(service_process::current()),
              test::read_file(service_process::pending()));
    EXPECT_NE(test::read_file(service_process::current()).find("Legacy"), std::string::npos);
}

TEST_F(settingsd, a_request_that_waited_for_the_service_is_carried_out) {
    test::write_file(path("/tmp/dp/server"), "restart\n");
    start();
    EXPECT_TRUE(eventually([&] { return test::read_file(path("/tmp/dp/server.out")) == "0\n"; }));
}

TEST_F(settingsd, an_update_installs_template_values_and_build_id) {
    start();
    service_process::run_batch(
        "0 1 t set Boot.Mode \"Legacy\" \"\"\n"
        "0 2 t set Boot.Delay \"55\" \"\"\n");
    service_process::place_update({test::choice("Boot", "Mode", "UEFI", "UEFI,Legacy"),
                                   test::number("Boot", "Delay", "1", 0, 10, 1),
                                   test::choice("Fans", "Speed", "low", "low,high")},
                                  "B2");
    EXPECT_EQ(service_process::request("update\n"), "0\n");
    EXPECT_EQ(test::read_file(path("/tmp/dp/uefi.bld")), "B2\n");
    EXPECT_EQ(test::read_file(path("/var/dp/vpd.txt")), "SERIAL=1\nUEFIID=B2\n");
    EXPECT_EQ(service_process::run_batch("0 1 t get Boot.Mode \"\" \"\"\n"
                                         "0 2 t get Boot.Delay \"\" \"\"\n"
                                         "0 3 t get Boot.Label \"\" \"\"\n"
                                         "0 4 t set Fans.Speed \"high\" \"\"\n"),
              "0 1 t get Boot.Mode \"\" \"Legacy\" \n"
              "0 2 t get Boot.Delay \"\" \"1\" \n"
              "16 3 t get ERR.INVALID_SETTING \"\" \"\" \n"
              "0 4 t set Fans.Speed \"high\" \"high\" \n");
    EXPECT_EQ(server.stop(), 0);
    start();
    EXPECT_EQ(service_process::run_batch("0 1 t get Fans.Speed \"\" \"\"\n"),
              "0 1 t get Fans.Speed \"\" \"high\" \n");
}

TEST_F(settingsd, an_update_counts_also_when_the_clock_was_set_back) {
    start();
    constexpr std::time_t ahead = 2'000'000'000;
    test::write_file(path("/tmp/dp/uefi_configs.txt"), "Boot\n");
    test::set_mtime(path("/tmp/dp/uefi_configs.txt"), ahead);
    test::set_mtime(path("/tmp/dp/uefi_info.txt"), ahead);
    service_process::place_update({test::choice("Fans", "Speed", "low", "low,high")}, "B2");
    EXPECT_EQ(service_process::request("update\n"), "0\n");
    EXPECT_FALSE(std::filesystem::exists(path("/tmp/dp/uefi_configs.txt")));
    EXPECT_NE(service_process::run_batch("0 1 t set Fans.Speed \"high\" \"\"\n"), "");
    EXPECT_EQ(server.stop(), 0);
    start();
    EXPECT_EQ(service_process::run_batch("0 1 t get Fans.Speed \"\" \"\"\n"),
              "0 1 t get Fans.Speed \"\" \"high\" \n");
}

TEST_F(settingsd, an_update_that_cannot_be_used_is_refused_and_the_old_bios_stays) {
    start();
    service_process::place_update({}, "B2");
    test::write_file(path("/var/dp/update/uefi_template.efi"), "garbage");
    const std::string answer = service_process::request("update\n");
    EXPECT_EQ(answer, std::to_string(service_status::malformed_line) + " " + path("/bin/dpspy") +
                          " failed with exit code 1\n");
    EXPECT_EQ(service_process::run_batch("0 1 t get Boot.Mode \"\" \"\"\n"),
              "0 1 t get Boot.Mode \"\" \"UEFI\" \n");
    EXPECT_EQ(test::read_file(path("/tmp/dp/uefi.bld")), "B1\n");
    EXPECT_EQ(server.stop(), 0);
    start();
}

TEST_F(settingsd, killed_in_an_update_it_completes_it) {
    std::mt19937 random(3);
    const std::vector<template_info> bios[] = {{test::choice("Boot", "Mode", "UEFI", "UEFI,Legacy"),
                                                test::text("Boot", "Two", "2", 0, 0, "")},
                                               {test::choice("Boot", "Mode", "UEFI", "UEFI,Legacy"),
                                                test::text("Boot", "One", "1", 0, 0, "")}};
    start();
    service_process::run_batch("0 1 t set Boot.Mode \"Legacy\" \"\"\n");
    for (int round = 0; round < 12; ++round) {
        const std::string build_id = "B" + std::to_string(round + 2);
        service_process::place_update(bios[round % 2], build_id);
        std::filesystem::remove(path("/tmp/dp/server.out"));
        test::write_file(path("/tmp/dp/server"), "update\n");
        usleep(static_cast<useconds_t>(random() % 40'000));
        server.stop(SIGKILL);
        ASSERT_TRUE(server.start()) << service_process::log();
        ASSERT_TRUE(
            eventually([&] { return std::filesystem::exists(path("/tmp/dp/server.out")); }));
        EXPECT_EQ(test::read_file(path("/tmp/dp/uefi.bld")), build_id + "\n");
        const std::string newest = round % 2 == 0 ? "Two \"2\"" : "One \"1\"";
        const std::string values = test::read_file(service_process::pending());
        EXPECT_NE(values.find(newest), std::string::npos) << values;
        EXPECT_NE(values.find("Mode \"Legacy\""), std::string::npos) << values;
        EXPECT_EQ(values, test::read_file(service_process::current()));
    }
}

}  // namespace
