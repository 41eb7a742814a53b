#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <random>
#include <sstream>
#include <string>

#include "platform/posix/efi_compressor.hpp"
#include "tests/support/eventually.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/system/dp_settingsd/settingsd_fixture.hpp"

namespace {

using test::eventually;
using test::service_process;

class dp_settingsd_batches : public test::settingsd_fixture {};

TEST_F(dp_settingsd_batches, answers_every_line_in_order) {
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

TEST_F(dp_settingsd_batches, runs_a_batch_that_waited_for_the_service) {
    service_process::write_batch("0 1 t set Boot.Mode \"Legacy\" \"\"\n");
    test::set_mtime(service_process::batch(), std::time(nullptr) - 50);
    start();
    EXPECT_EQ(service_process::wait_for_result(), "0 1 t set Boot.Mode \"Legacy\" \"Legacy\" \n");
}

TEST_F(dp_settingsd_batches, sets_aside_a_batch_whose_client_no_longer_waits) {
    service_process::write_batch("0 1 t set Boot.Mode \"Legacy\" \"\"\n");
    test::set_mtime(service_process::batch(), 1000);
    start();
    const std::string late = path("/tmp/dp/batch.late");
    EXPECT_TRUE(test::eventually([&] { return std::filesystem::exists(late); }));
    EXPECT_EQ(test::read_file(late), "0 1 t set Boot.Mode \"Legacy\" \"\"\n");
    EXPECT_EQ(service_process::run_batch("0 2 t get Boot.Mode \"\" \"\"\n"),
              "0 2 t get Boot.Mode \"\" \"UEFI\" \n");
    EXPECT_NE(service_process::log().find("its client no longer waits"), std::string::npos);
}

TEST_F(dp_settingsd_batches, runs_a_compressed_batch_like_a_plain_one) {
    start();
    EXPECT_EQ(service_process::run_batch(
                  dp_platform::efi_compress("0 1 t set Boot.Mode \"Legacy\" \"\"\n")),
              "0 1 t set Boot.Mode \"Legacy\" \"Legacy\" \n");
}

TEST_F(dp_settingsd_batches, takes_a_batch_only_after_its_writer_has_closed_it) {
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

// No close event arrives, because the writer opened the file under a name in another folder.
TEST_F(dp_settingsd_batches, takes_a_batch_without_a_close_event_when_it_has_no_writer) {
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

TEST_F(dp_settingsd_batches, takes_a_batch_that_was_renamed_or_hard_linked) {
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

TEST_F(dp_settingsd_batches, refuses_symlinks_pipes_folders_and_files_of_other_users) {
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
    EXPECT_NE(service_process::log().find(name + " is a symlink; removed it"), std::string::npos);
}

TEST_F(dp_settingsd_batches, runs_the_command_after_garbage) {
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

TEST_F(dp_settingsd_batches, answers_each_of_100000_commands) {
    start();
    std::ostringstream text;
    for (int i = 0; i < 100'000; ++i) {
        text << "0 " << i << " t set Ports.Speed." << i % 4 + 1 << " \"" << i % 1000 + 1
             << "\" \"\" \n";
    }
    const std::string result = service_process::run_batch(text.str());
    EXPECT_EQ(test::line_count(result), 100'000U);
    EXPECT_EQ(result.rfind("0 0 t set Ports.Speed.1 \"1\" \"1\" \n", 0), 0U);
    EXPECT_NE(test::read_file(service_process::pending()).find("Ports.Speed.4 \"1000\""),
              std::string::npos);
}

TEST_F(dp_settingsd_batches, runs_all_batches_that_follow_at_once) {
    start();
    for (int i = 0; i < 200; ++i) {
        const std::string value = std::to_string(i % 13 * 5);
        EXPECT_EQ(service_process::run_batch("0 1 t set Boot.Delay \"" + value + "\" \"\"\n"),
                  "0 1 t set Boot.Delay \"" + value + "\" \"" + value + "\" \n");
    }
}

TEST_F(dp_settingsd_batches, logs_a_result_that_cannot_be_written_and_continues) {
    start();
    std::filesystem::create_directories(service_process::result() + "/full");
    test::write_file(service_process::batch(), "0 1 t set Boot.Mode \"Legacy\" \"\"\n");
    EXPECT_TRUE(eventually([] {
        return service_process::log().find("cannot answer a batch: ") != std::string::npos;
    }));
    // It removes what blocks the next answer.
    EXPECT_TRUE(eventually([] { return !std::filesystem::exists(service_process::result()); }));
    EXPECT_EQ(service_process::run_batch("0 1 t get Boot.Mode \"\" \"\"\n"),
              "0 1 t get Boot.Mode \"\" \"Legacy\" \n");
}

TEST_F(dp_settingsd_batches, fails_and_undoes_changes_that_cannot_be_written) {
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

TEST_F(dp_settingsd_batches, creates_a_removed_exchange_folder_again) {
    start();
    test::remove_folder(path("/tmp/dp"));
    ASSERT_TRUE(eventually([] {
        return service_process::log().find("the exchange folder was removed") !=
                   std::string::npos &&
               std::filesystem::exists(service_process::path("/tmp/dp"));
    }));
    EXPECT_EQ(service_process::run_batch("0 1 t get Boot.Mode \"\" \"\"\n"),
              "0 1 t get Boot.Mode \"\" \"UEFI\" \n");
}

}  // namespace
