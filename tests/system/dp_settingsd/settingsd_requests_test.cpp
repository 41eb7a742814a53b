#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "service_api/change_record.hpp"
#include "service_api/service_status.hpp"
#include "service_api/settings_client.hpp"
#include "tests/support/eventually.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/system/dp_settingsd/settingsd_fixture.hpp"

namespace {

using client = dp_service::settings_client;
using states = dp_service::settings_client::states;
using test::service_process;
using testing::HasSubstr;

class dp_settingsd_requests : public test::settingsd_fixture {
  protected:
    static client::result set(const std::string& name, const std::string& value,
                              const std::string& planned_on = {}) {
        std::vector<client::change> changes{{name, value}};
        auto answer = client().change_settings(changes, planned_on);
        if (answer.state == states::answered) {
            answer.status = changes[0].status;
        }
        return answer;
    }

    static bool is_set(const std::string& name, const std::string& value) {
        const auto answer = set(name, value);
        return answer.state == states::answered && answer.status == 0;
    }
};

TEST_F(dp_settingsd_requests, changes_settings_and_names_the_client_in_history_and_log) {
    start();
    EXPECT_EQ(set("Boot.Mode", "Legacy").status, 0);
    EXPECT_THAT(test::read_file(service_process::pending()), HasSubstr("Boot.Mode \"Legacy\""));
    const std::string who = ",uid=" + std::to_string(geteuid()) +
                            ",gid=" + std::to_string(getegid()) +
                            ",pid=" + std::to_string(getpid()) + ",program=";
    EXPECT_THAT(test::read_file(path("/var/dp/history")), HasSubstr(who));
    EXPECT_THAT(service_process::log(), HasSubstr(who));
}

TEST_F(dp_settingsd_requests, names_the_person_for_whom_a_client_acts_in_history_and_log) {
    start();
    client portal;
    portal.on_behalf_of = "eve";
    std::vector<client::change> changes{{"Boot.Mode", "Legacy"}};
    EXPECT_EQ(portal.change_settings(changes).state, states::answered);
    EXPECT_EQ(portal.restart().status, 0);
    const std::string who = ",pid=" + std::to_string(getpid()) + ",for=eve,program=";
    const std::string history = test::read_file(path("/var/dp/history"));
    const auto record = dp_service::change_record::parse(history.substr(0, history.find('\n')));
    ASSERT_TRUE(record);
    EXPECT_EQ(record->requested_by().on_behalf_of, "eve");
    EXPECT_THAT(record->requested_by().client, HasSubstr(",pid=" + std::to_string(getpid())));
    EXPECT_THAT(service_process::log(), HasSubstr(who));
    EXPECT_THAT(service_process::log(), HasSubstr("restart requested by uid="));
}

TEST_F(dp_settingsd_requests, reports_each_refused_command) {
    start();
    std::vector<client::change> changes{
        {"Boot.Mode", "Legacy"}, {"Boot.Mode", "x"}, {"No.Such", "x"}};
    EXPECT_EQ(client().change_settings(changes).state, states::answered);
    EXPECT_EQ(changes[0].status, 0);
    EXPECT_EQ(changes[0].stored, "Legacy");
    EXPECT_EQ(changes[1].status, dp_service::service_status::not_a_choice);
    EXPECT_EQ(changes[2].status, 16);
}

TEST_F(dp_settingsd_requests, refuses_a_change_that_was_planned_on_other_values) {
    start();
    const std::string version = client().pending_version().text;
    EXPECT_FALSE(version.empty());
    EXPECT_EQ(set("Boot.Mode", "Legacy", version).state, states::answered);
    const auto refused = set("Boot.Delay", "10", version);
    EXPECT_EQ(refused.state, states::refused);
    EXPECT_EQ(refused.status, dp_service::service_status::pending_changed);
    EXPECT_EQ(set("Boot.Delay", "10", client().pending_version().text).status, 0);
}

TEST_F(dp_settingsd_requests, executes_requests_and_batch_files_in_turn) {
    start();
    std::atomic<int> answered = 0;
    std::vector<std::thread> clients;
    for (int i = 0; i < 4; ++i) {
        clients.emplace_back([&, i] {
            for (int round = 0; round < 10; ++round) {
                answered +=
                    set("Boot.Delay", std::to_string(5 * ((i + round) % 5))).status == 0 ? 1 : 0;
            }
        });
    }
    for (int round = 0; round < 10; ++round) {
        EXPECT_EQ(service_process::run_batch("0 1 t set Boot.Mode \"Legacy\" \"\"\n"),
                  "0 1 t set Boot.Mode \"Legacy\" \"Legacy\" \n");
    }
    for (auto& each : clients) {
        each.join();
    }
    EXPECT_EQ(answered, 40);
}

TEST_F(dp_settingsd_requests, a_stopped_service_lets_its_clients_withdraw) {
    start();
    server.send(SIGSTOP);
    client patient;
    patient.start_timeout = std::chrono::milliseconds(50);
    std::vector<client::change> changes{{"Boot.Mode", "Legacy"}};
    EXPECT_EQ(patient.change_settings(changes).state, states::withdrawn);
    server.send(SIGCONT);
    EXPECT_EQ(service_process::run_batch("0 1 t get Boot.Mode \"\" \"\"\n"),
              "0 1 t get Boot.Mode \"\" \"UEFI\" \n");
}

TEST_F(dp_settingsd_requests, a_service_that_ends_closes_its_connections) {
    start();
    server.send(SIGSTOP);
    client::result answer;
    std::thread waiting([&] { answer = set("Boot.Mode", "Legacy"); });
    usleep(20'000);
    server.send(SIGTERM);
    server.send(SIGCONT);
    waiting.join();
    EXPECT_EQ(server.wait(), 0);
    EXPECT_TRUE(answer.state == states::withdrawn || answer.status == 0) << answer.reason;
    EXPECT_FALSE(std::filesystem::exists(path("/run/dp/settings.sock")));
    EXPECT_EQ(set("Boot.Mode", "Legacy").state, states::no_service);
}

TEST_F(dp_settingsd_requests, creates_a_removed_socket_again) {
    start();
    std::filesystem::remove(path("/run/dp/settings.sock"));
    EXPECT_TRUE(test::eventually([] { return is_set("Boot.Mode", "Legacy"); }));
    test::remove_folder(path("/run/dp"));
    EXPECT_TRUE(test::eventually([] { return is_set("Boot.Mode", "UEFI"); }));
}

TEST_F(dp_settingsd_requests, survives_folders_that_are_removed_again_while_it_creates_them) {
    start();
    for (int i = 0; i < 1000; ++i) {
        std::error_code ignored;
        std::filesystem::remove_all(path("/run/dp"), ignored);
        std::filesystem::remove_all(path("/tmp/dp"), ignored);
    }
    EXPECT_TRUE(test::eventually([] { return is_set("Boot.Mode", "Legacy"); }));
    EXPECT_EQ(service_process::run_batch("0 1 t get Boot.Mode \"\" \"\"\n"),
              "0 1 t get Boot.Mode \"\" \"Legacy\" \n");
}

TEST_F(dp_settingsd_requests, replaces_the_socket_of_a_service_that_was_killed) {
    start();
    server.stop(SIGKILL);
    EXPECT_TRUE(std::filesystem::exists(path("/run/dp/settings.sock")));
    EXPECT_EQ(set("Boot.Mode", "Legacy").state, states::no_service);
    start();
    EXPECT_EQ(set("Boot.Mode", "Legacy").status, 0);
}

TEST_F(dp_settingsd_requests, answers_ten_thousand_commands) {
    start();
    std::vector<client::change> changes;
    for (int i = 0; i < 10'000; ++i) {
        changes.push_back({"Boot.Delay", std::to_string(5 * (i % 5))});
    }
    const auto answer = client().change_settings(changes);
    EXPECT_EQ(answer.state, states::answered) << answer.reason;
    EXPECT_EQ(changes.back().status, 0);
    EXPECT_EQ(changes.back().stored, "20");
}

}  // namespace
