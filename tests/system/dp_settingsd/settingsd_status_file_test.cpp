#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "tests/support/scratch_files.hpp"
#include "tests/system/dp_settingsd/settingsd_fixture.hpp"

namespace {

using test::service_process;

class dp_settingsd_status_file : public test::settingsd_fixture {};

TEST_F(dp_settingsd_status_file, reports_the_last_transaction) {
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

TEST_F(dp_settingsd_status_file, replaces_a_symlink_or_pipe) {
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

}  // namespace
