#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>

#include "common/file_locks.hpp"
#include "tests/support/child_process.hpp"
#include "tests/support/eventually.hpp"
#include "tests/support/program.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/system/dp_settingsd/settingsd_fixture.hpp"

namespace {

using test::service_process;

class dp_settingsd_start : public test::settingsd_fixture {};

TEST_F(dp_settingsd_start, prints_help_and_version) {
    const auto help = test::run_program("dp_settingsd", {"--help"});
    EXPECT_EQ(help.exit_code, 0);
    EXPECT_NE(help.out.find(path("/var/dp")), std::string::npos);
    const auto version = test::run_program("dp_settingsd", {"--version"});
    EXPECT_EQ(version.exit_code, 0);
    EXPECT_EQ(version.out.rfind("dp_settingsd ", 0), 0U);
    const auto failed = test::run_program(
        "/bin/sh", {"-c", test::program_path("dp_settingsd") + " --version >/dev/full"});
    EXPECT_EQ(failed.exit_code, 1);
    EXPECT_EQ(failed.err, "dp_settingsd: a part of the output could not be written\n");
}

TEST_F(dp_settingsd_start, exits_with_2_on_wrong_usage) {
    for (const char* argument : {"--frob", "word", "-x"}) {
        const auto result = test::run_program("dp_settingsd", {argument});
        EXPECT_EQ(result.exit_code, 2) << argument;
        EXPECT_NE(result.err, "");
    }
}

TEST_F(dp_settingsd_start, creates_folders_with_mode_0700_and_restricts_existing_ones) {
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

TEST_F(dp_settingsd_start, serves_without_standard_streams_and_writes_into_no_other_file) {
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

TEST_F(dp_settingsd_start, writes_values_and_build_id_at_the_first_start) {
    start();
    const std::string values = test::read_file(service_process::pending());
    EXPECT_NE(values.find("Boot.Mode \"UEFI\" \"\""), std::string::npos);
    EXPECT_EQ(test::read_file(service_process::current()), values);
    EXPECT_EQ(test::read_file(path("/tmp/dp/uefi.bld")), "B1\n");
}

TEST_F(dp_settingsd_start, refuses_a_missing_or_broken_template) {
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

TEST_F(dp_settingsd_start, refuses_folders_and_files_that_are_symlinks) {
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
        expect_refusal(real + " is a symlink");
        std::filesystem::remove(real);
        if (was_there) {
            std::filesystem::rename(aside, real);
        } else {
            std::filesystem::remove(aside);
        }
    }
    start();
}

TEST_F(dp_settingsd_start, refuses_folders_and_files_of_another_user) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give files away";
    }
    for (const char* name : {"/tmp/dp", "/var/dp", "/var/dp/uefi_template.efi"}) {
        ASSERT_EQ(chown(path(name).c_str(), 12345, 12345), 0);
        expect_refusal(path(name) + " belongs to user 12345, not to user 0");
        ASSERT_EQ(chown(path(name).c_str(), 0, 0), 0);
    }
}

TEST_F(dp_settingsd_start, sigterm_ends_the_waiting_for_a_lock) {
    start();
    EXPECT_EQ(server.stop(), 0);
    test::child_process writer([](const test::child_process::parent_channel& parent) {
        const writelock lock(service_process::pending());
        parent.send('L');
        return parent.receive() == 'E' ? 0 : 1;
    });
    ASSERT_EQ(writer.receive(), 'L');
    server.launch();
    ASSERT_TRUE(test::eventually(
        [] { return service_process::log().find("waiting for at most") != std::string::npos; }));
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(server.stop(), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

TEST_F(dp_settingsd_start, runs_only_once_at_a_time) {
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

}  // namespace
