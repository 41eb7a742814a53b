#include <gmock/gmock.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/child_process.hpp"
#include "tests/support/program.hpp"
#include "tests/support/sample_template.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/system/dp_settingsd/settingsd_fixture.hpp"

namespace {

using test::service_process;
using testing::HasSubstr;

/// A service with a group of readers, which "daemon" is on every Debian system.
class dp_settingsd_readers : public test::settingsd_fixture {
  protected:
    void SetUp() override {
        const group* const found = getgrnam("daemon");
        if (geteuid() != 0 || found == nullptr) {
            GTEST_SKIP() << "only root can run programs as another user";
        }
        group_ = found->gr_gid;
        ASSERT_EQ(chmod(test::root().c_str(), 0755), 0);
    }

    // dpctl as nobody, in the group of readers or in none.
    test::program_result dpctl_as_other(const std::vector<std::string>& arguments,
                                        bool is_reader) const {
        return test::run_program_as(65534, is_reader ? group_ : 65534, "dpctl", arguments);
    }

    gid_t group_ = 0;
};

TEST_F(dp_settingsd_readers, can_read_everything_and_change_nothing) {
    server.options = {"--read-group", "daemon"};
    start();
    service_process::run_batch("0 1 t set Boot.Mode \"Legacy\" \"\"\n");
    for (const auto& arguments : std::vector<std::vector<std::string>>{
             {"collections"}, {"list", "Boot"}, {"show", "Boot.Mode"}, {"history"}, {"status"}}) {
        const auto result = dpctl_as_other(arguments, true);
        EXPECT_EQ(result.exit_code, 0) << arguments[0] << ": " << result.err;
        EXPECT_NE(result.out, "") << arguments[0];
    }
    EXPECT_EQ(dpctl_as_other({"get", "Boot.Mode"}, true).out, "Boot.Mode=Legacy\n");
    EXPECT_EQ(dpctl_as_other({"set", "Boot.Mode=UEFI"}, true).exit_code, 1);
    EXPECT_EQ(dpctl_as_other({"get", "Boot.Mode"}, true).out, "Boot.Mode=Legacy\n");
    const auto refused = dpctl_as_other({"get", "Boot.Mode"}, false);
    EXPECT_EQ(refused.exit_code, 1);
    EXPECT_THAT(refused.err, HasSubstr("ermission denied"));
}

TEST_F(dp_settingsd_readers, are_told_how_to_get_the_right_to_change_settings) {
    // As on every system; the service would create it for itself.
    std::filesystem::create_directories(path("/run"));
    ASSERT_EQ(chmod(path("/run").c_str(), 0755), 0);
    server.options = {"--read-group", "daemon"};
    start();
    service_process::run_batch("0 1 t set Boot.Mode \"Legacy\" \"\"\n");
    test::write_file(path("/state"), "Boot.Mode=UEFI\n");
    const std::vector<std::vector<std::string>> commands{
        {"set", "Boot.Mode=UEFI"}, {"reset", "Boot.Mode"}, {"apply", "state"}, {"revert", "Boot"}};
    for (const auto& arguments : commands) {
        const auto refused = dpctl_as_other(arguments, true);
        EXPECT_EQ(refused.exit_code, 1) << arguments[0];
        EXPECT_EQ(refused.err,
                  "dpctl: cannot use the settings service: " + path("/run/dp/settings.sock") +
                      ": permission denied: run as root\n  Nothing was changed.\n")
            << arguments[0];
    }
    EXPECT_EQ(server.stop(), 0);
    server.options = {"--read-group", "daemon", "--group", "adm"};
    start();
    for (const auto& arguments : commands) {
        EXPECT_THAT(dpctl_as_other(arguments, true).err,
                    HasSubstr("permission denied: run as root or join the group adm\n"))
            << arguments[0];
    }
    EXPECT_EQ(dpctl_as_other({"get", "Boot.Mode"}, true).out, "Boot.Mode=Legacy\n");
}

TEST_F(dp_settingsd_readers, can_read_after_an_update_with_a_template_of_this_second_or_later) {
    server.options = {"--read-group", "daemon"};
    start();
    service_process::place_update({test::choice("New", "Mode", "x", "x,y")}, "B2");
    test::set_mtime(path("/var/dp/update/uefi_template.efi"), std::time(nullptr) + 100);
    EXPECT_EQ(service_process::update(), "0");
    const auto result = dpctl_as_other({"get", "New.Mode"}, true);
    EXPECT_EQ(result.out, "New.Mode=x\n") << result.err;
}

TEST_F(dp_settingsd_readers, are_given_access_to_files_of_before_and_lose_it_without_the_option) {
    start();
    service_process::run_batch("0 1 t set Boot.Mode \"Legacy\" \"\"\n");
    EXPECT_EQ(dpctl_as_other({"get", "Boot.Mode"}, true).exit_code, 1);
    EXPECT_EQ(server.stop(), 0);
    server.options = {"--read-group", "daemon"};
    start();
    EXPECT_EQ(dpctl_as_other({"get", "Boot.Mode"}, true).out, "Boot.Mode=Legacy\n");
    EXPECT_EQ(server.stop(), 0);
    server.options.clear();
    start();
    EXPECT_EQ(dpctl_as_other({"get", "Boot.Mode"}, true).exit_code, 1);
    EXPECT_EQ(dpctl_as_other({"history"}, true).exit_code, 1);
}

}  // namespace
