#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/posix/message_listener.hpp"
#include "tests/support/alert_listener.hpp"
#include "tests/support/private_queues.hpp"
#include "tests/support/program.hpp"
#include "tests/support/sample_template.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/system/dp_settingsd/settingsd_fixture.hpp"

namespace {

using test::service_process;

class dp_settingsd_alerts : public test::settingsd_fixture {
  protected:
    test::private_queues queues;

    static void set_speed(int value) {
        const std::string text = std::to_string(value);
        EXPECT_EQ(service_process::run_batch("0 1 t set Ports.Speed.1 \"" + text + "\" \"\"\n"),
                  "0 1 t set Ports.Speed.1 \"" + text + "\" \"" + text + "\" \n");
    }
};

TEST_F(dp_settingsd_alerts, report_changes_and_failed_writes) {
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

TEST_F(dp_settingsd_alerts, report_values_that_were_lost_and_replaced_by_others) {
    test::plugin_alerts alerts;
    start();
    set_speed(100);
    EXPECT_EQ(alerts.next(), "settings_changed plugin=1 value=1");
    EXPECT_EQ(server.stop(), 0);
    const std::string text = test::read_file(service_process::pending());
    std::filesystem::remove(service_process::pending());
    test::write_file(service_process::pending(), text.substr(0, text.size() / 2));
    start();
    EXPECT_EQ(alerts.next(), "persist_failed plugin=1 value=" + std::to_string(EBADMSG));
    EXPECT_EQ(alerts.next(), "settings_changed plugin=1 value=255");
    EXPECT_EQ(alerts.next(), "none");
    EXPECT_EQ(service_process::run_batch("0 1 t get Ports.Speed.1 \"\" \"\"\n"),
              "0 1 t get Ports.Speed.1 \"\" \"10\" \n");
}

TEST_F(dp_settingsd_alerts, count_at_most_255_instances) {
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

TEST_F(dp_settingsd_alerts, report_restarts_and_updates_on_both_queues) {
    test::plugin_alerts alerts;
    test::firmware_manager_alerts fm_alerts;
    start();
    EXPECT_EQ(service_process::restart(), "0");
    EXPECT_EQ(alerts.next(), "server_restarted plugin=1 value=0");
    EXPECT_EQ(fm_alerts.next(), "server_restarted value=0");
    EXPECT_NE(service_process::update(), "0");
    EXPECT_EQ(alerts.next(), "none");
    service_process::place_update({test::choice("Boot", "Mode", "UEFI", "UEFI,Legacy")}, "B2");
    EXPECT_EQ(service_process::update(), "0");
    EXPECT_EQ(alerts.next(), "bios_updated plugin=1 value=8");
    EXPECT_EQ(alerts.next(), "server_restarted plugin=1 value=0");
    EXPECT_EQ(fm_alerts.next(), "bios_updated value=8");
    EXPECT_EQ(fm_alerts.next(), "server_restarted value=0");
    EXPECT_EQ(alerts.next(), "none");
    EXPECT_EQ(fm_alerts.next(), "none");
}

TEST_F(dp_settingsd_alerts, need_a_valid_queue_prefix_to_start) {
    setenv("DP_QUEUE_PREFIX", "a/b", 1);
    const auto result = test::run_program("dp_settingsd", {});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err,
              "dp_settingsd: DP_QUEUE_PREFIX must be at most 64 letters, digits, '_', '-' and "
              "'.'\n");
}

TEST_F(dp_settingsd_alerts, without_a_listener_are_neither_waited_for_nor_logged) {
    start();
    set_speed(1);
    EXPECT_EQ(service_process::restart(), "0");
    // A listener that ends without removing its queue.
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
    EXPECT_EQ(service_process::restart(), "0");
    EXPECT_EQ(service_process::log().find("ERROR"), std::string::npos) << service_process::log();
    test::plugin_alerts alerts;
    test::firmware_manager_alerts fm_alerts;
    EXPECT_EQ(alerts.next(), "none");
    set_speed(3);
    EXPECT_EQ(alerts.next(), "settings_changed plugin=1 value=1");
}

TEST_F(dp_settingsd_alerts, are_lost_and_logged_when_the_queue_is_full) {
    test::plugin_alerts alerts;
    test::firmware_manager_alerts fm_alerts;
    start();
    for (int i = 1; i <= 20; ++i) {
        set_speed(i % 10 + 20);
        EXPECT_EQ(service_process::restart(), "0");
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

}  // namespace
