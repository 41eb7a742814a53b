#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <ctime>
#include <filesystem>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "service_api/service_status.hpp"
#include "service_api/settings_client.hpp"
#include "tests/support/eventually.hpp"
#include "tests/support/sample_template.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/system/dp_settingsd/settingsd_fixture.hpp"

namespace {

using test::eventually;
using test::service_process;

class dp_settingsd_simulated_server : public test::settingsd_fixture {};

TEST_F(dp_settingsd_simulated_server, makes_pending_values_current_at_a_restart) {
    start();
    service_process::run_batch("0 1 t set Boot.Mode \"Legacy\" \"\"\n");
    EXPECT_EQ(test::read_file(service_process::current()).find("Legacy"), std::string::npos);
    EXPECT_EQ(service_process::restart(), "0");
    EXPECT_EQ(test::read_file(service_process::current()),
              test::read_file(service_process::pending()));
    EXPECT_NE(test::read_file(service_process::current()).find("Legacy"), std::string::npos);
}

TEST_F(dp_settingsd_simulated_server, installs_template_values_and_build_id_of_an_update) {
    start();
    service_process::run_batch(
        "0 1 t set Boot.Mode \"Legacy\" \"\"\n"
        "0 2 t set Boot.Delay \"55\" \"\"\n");
    service_process::place_update({test::choice("Boot", "Mode", "UEFI", "UEFI,Legacy"),
                                   test::number("Boot", "Delay", "1", 0, 10, 1),
                                   test::choice("Fans", "Speed", "low", "low,high")},
                                  "B2");
    EXPECT_EQ(service_process::update(), "0");
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

TEST_F(dp_settingsd_simulated_server, uses_an_update_although_the_clock_was_set_back) {
    start();
    constexpr std::time_t ahead = 2'000'000'000;
    test::write_file(path("/tmp/dp/uefi_configs.txt"), "Boot\n");
    test::set_mtime(path("/tmp/dp/uefi_configs.txt"), ahead);
    test::set_mtime(path("/tmp/dp/uefi_info.txt"), ahead);
    service_process::place_update({test::choice("Fans", "Speed", "low", "low,high")}, "B2");
    EXPECT_EQ(service_process::update(), "0");
    EXPECT_FALSE(std::filesystem::exists(path("/tmp/dp/uefi_configs.txt")));
    EXPECT_NE(service_process::run_batch("0 1 t set Fans.Speed \"high\" \"\"\n"), "");
    EXPECT_EQ(server.stop(), 0);
    start();
    EXPECT_EQ(service_process::run_batch("0 1 t get Fans.Speed \"\" \"\"\n"),
              "0 1 t get Fans.Speed \"\" \"high\" \n");
}

TEST_F(dp_settingsd_simulated_server, refuses_an_unusable_update_and_keeps_the_old_bios) {
    start();
    service_process::place_update({}, "B2");
    test::write_file(path("/var/dp/update/uefi_template.efi"), "garbage");
    const std::string answer = service_process::update();
    EXPECT_EQ(answer, std::to_string(dp_service::service_status::malformed_line) + " " +
                          path("/bin/dpspy") + " failed with exit code 1");
    EXPECT_EQ(service_process::run_batch("0 1 t get Boot.Mode \"\" \"\"\n"),
              "0 1 t get Boot.Mode \"\" \"UEFI\" \n");
    EXPECT_EQ(test::read_file(path("/tmp/dp/uefi.bld")), "B1\n");
    EXPECT_EQ(server.stop(), 0);
    start();
}

TEST_F(dp_settingsd_simulated_server, completes_an_update_after_a_kill_or_has_not_begun_it) {
    std::mt19937 random(3);
    const std::vector<template_info> bios[] = {{test::choice("Boot", "Mode", "UEFI", "UEFI,Legacy"),
                                                test::text("Boot", "Two", "2", 0, 0, "")},
                                               {test::choice("Boot", "Mode", "UEFI", "UEFI,Legacy"),
                                                test::text("Boot", "One", "1", 0, 0, "")}};
    start();
    EXPECT_EQ(service_process::update().substr(0, 2), "58");
    service_process::run_batch("0 1 t set Boot.Mode \"Legacy\" \"\"\n");
    for (int round = 0; round < 12; ++round) {
        const std::string build_id = "B" + std::to_string(round + 2);
        service_process::place_update(bios[round % 2], build_id);
        std::thread client([] { dp_service::settings_client().update(); });
        usleep(static_cast<useconds_t>(random() % 40'000));
        server.stop(SIGKILL);
        client.join();
        ASSERT_TRUE(server.start()) << service_process::log();
        const std::string newest = round % 2 == 0 ? "Two \"2\"" : "One \"1\"";
        const bool is_done = test::read_file(path("/tmp/dp/uefi.bld")) == build_id + "\n";
        for (const auto& file : {service_process::pending(), service_process::current()}) {
            EXPECT_EQ(test::read_file(file).find(newest) != std::string::npos, is_done);
        }
        if (!is_done) {
            EXPECT_EQ(service_process::update(), "0");
        }
        EXPECT_EQ(test::read_file(path("/tmp/dp/uefi.bld")), build_id + "\n");
        const std::string values = test::read_file(service_process::pending());
        EXPECT_NE(values.find(newest), std::string::npos) << values;
        EXPECT_NE(values.find("Mode \"Legacy\""), std::string::npos) << values;
        EXPECT_EQ(values, test::read_file(service_process::current()));
    }
}

}  // namespace
