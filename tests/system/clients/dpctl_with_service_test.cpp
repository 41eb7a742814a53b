#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/dpctl.hpp"
#include "tests/support/sample_template.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/support/service_process.hpp"

// dpctl with a running dp_settingsd.

namespace {

using nlohmann::json;
using test::dpctl;
using test::service_process;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class dpctl_with_service : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(server_.start()) << service_process::log(); }

    service_process server_;
};

TEST_F(dpctl_with_service, lists_the_settings_of_the_service) {
    const auto result = dpctl({"collections"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("Boot"));
    EXPECT_THAT(dpctl({"list", "Ports"}).out, HasSubstr("Ports.Speed.4"));
    EXPECT_EQ(dpctl({"get", "Boot.Mode"}).out, "Boot.Mode=UEFI\n");
}

TEST_F(dpctl_with_service, shows_another_template_of_any_age_and_then_its_own_again) {
    namespace fs = std::filesystem;
    auto infos = test::sample_template();
    infos.push_back(test::choice("Fans", "Speed", "low", "low,high"));
    service_process::place_update(infos, "B2");
    const std::string other = service_process::path("/var/dp/update/uefi_template.efi");
    fs::last_write_time(other, fs::file_time_type::clock::now() - std::chrono::hours(1));
    const std::string own = dpctl({"collections"}).out;
    EXPECT_THAT(own, Not(HasSubstr("Fans")));
    const auto result = dpctl({"collections", "--template-file", other});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(result.out, HasSubstr("Fans"));
    EXPECT_THAT(dpctl({"list", "Fans", "--template-file", other}).out, HasSubstr("Fans.Speed"));
    EXPECT_EQ(dpctl({"collections"}).out, own);
}

TEST_F(dpctl_with_service, keeps_changes_pending_until_the_server_restarts) {
    const auto result = dpctl({"set", "Boot.Mode=Legacy", "Boot.Delay=60", "Ports.Speed.2=1"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_THAT(result.out,
                HasSubstr("Boot.Mode: UEFI -> Legacy, pending until the server restarts\n"));
    EXPECT_EQ(dpctl({"get", "--current", "Boot.Mode"}).out, "Boot.Mode=UEFI\n");
    EXPECT_EQ(service_process::restart(), "0");
    EXPECT_EQ(dpctl({"get", "--current", "Boot.Mode"}).out, "Boot.Mode=Legacy\n");
}

TEST_F(dpctl_with_service, requests_nothing_that_the_template_does_not_allow) {
    const auto result = dpctl({"set", "Boot.Mode=CSM", "Boot.Delay=61", "Boot.Vendor=other",
                               "Ports.Speed.5=1", "Boot.Label=a label"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_THAT(result.err, HasSubstr("dpctl: Boot.Mode: \"CSM\" is not one of "));
    EXPECT_THAT(result.err, HasSubstr("dpctl: Boot.Delay: \"61\" is out of range (allowed: "));
    EXPECT_THAT(result.err, HasSubstr("dpctl: Boot.Vendor: it is read-only\n"));
    EXPECT_THAT(result.err, HasSubstr("dpctl: Ports.Speed.5: the attribute has no such instance"));
    EXPECT_THAT(result.err, HasSubstr("  Nothing was changed.\n"));
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_EQ(dpctl({"get", "Boot.Label"}).out, "Boot.Label=disk\n");
    EXPECT_THAT(dpctl({"status"}).out, HasSubstr("No transaction has run"));
}

// The limits that dpctl knows are those of the service: what it sends is not refused for a value.
TEST_F(dpctl_with_service, agrees_with_the_service_about_values) {
    for (const char* const change :
         {"Boot.Delay=005", "Boot.Delay=60", "Boot.Label=12345678901234567890", "Boot.Label=äöü",
          "Boot.Order=PXE,HDD", "Boot.Order=[value='HDD',order='1'],[value='PXE',order='2']",
          "Ports.Speed.4=1000", "Ports.User.8=\"\\\"", "Ports.User.1=a\tb", "Ports.Role.8=admin"}) {
        const auto result = dpctl({"set", change});
        EXPECT_EQ(result.exit_code, 0) << change << ": " << result.err;
    }
    EXPECT_EQ(dpctl({"get", "Boot.Delay", "Boot.Label", "Boot.Order", "Ports.User.8"}).out,
              "Boot.Delay=60\nBoot.Label=äöü\nBoot.Order=HDD,PXE\nPorts.User.8=\"\\\"\n");
    EXPECT_THAT(dpctl({"history", "Ports.User.8"}).out, HasSubstr("Ports.User.8  -     \"\\"));
}

TEST_F(dpctl_with_service, reports_what_each_of_many_concurrent_changes_replaced) {
    constexpr int clients = 8;
    std::vector<test::program_result> results(clients);
    std::vector<std::thread> threads;
    for (int i = 0; i < clients; ++i) {
        threads.emplace_back([&results, i] {
            const auto at = static_cast<std::size_t>(i);
            results[at] = dpctl({"set", "Boot.Label=client " + std::to_string(i)});
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    // Each value was set once and, except for the last one, replaced once.
    std::multiset<std::string> replaced;
    for (const auto& result : results) {
        EXPECT_EQ(result.exit_code, 0) << result.err;
        const std::size_t arrow = result.out.find(" -> ");
        ASSERT_NE(arrow, std::string::npos) << result.out;
        replaced.insert(result.out.substr(0, arrow));
    }
    std::multiset<std::string> expected{"Boot.Label: disk"};
    const std::string last = dpctl({"get", "Boot.Label"}).out;
    for (int i = 0; i < clients; ++i) {
        const std::string value = "client " + std::to_string(i);
        if (last != "Boot.Label=" + value + '\n') {
            expected.insert("Boot.Label: " + value);
        }
    }
    EXPECT_EQ(replaced, expected);
}

TEST_F(dpctl_with_service, resets_a_collection_to_its_defaults) {
    ASSERT_EQ(dpctl({"set", "Boot.Mode=Legacy", "Boot.Delay=60"}).exit_code, 0);
    const auto result = dpctl({"reset", "Boot"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("Boot.Mode: Legacy -> UEFI"));
    EXPECT_EQ(dpctl({"get", "Boot.Mode"}).out, "Boot.Mode=UEFI\n");
    EXPECT_THAT(dpctl({"reset", "Boot"}).out, HasSubstr("already so"));
}

TEST_F(dpctl_with_service, shows_failures_of_the_last_batch_with_reasons) {
    service_process::run_batch(
        "0 1 <t> set Boot.Mode \"CSM\" \"\"\n0 2 <t> set Boot.Delay \"60\" \"\"\n");
    const auto result = dpctl({"status"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("finished, 1 of 2 commands failed\n"));
    EXPECT_THAT(result.out, HasSubstr("Boot.Mode"));
    EXPECT_THAT(result.out, HasSubstr("not one of its possible values"));
    EXPECT_THAT(result.out, Not(HasSubstr("Boot.Delay")));
}

TEST_F(dpctl_with_service, shows_the_history_across_restarts_of_the_service) {
    ASSERT_EQ(dpctl({"set", "Boot.Delay=60"}).exit_code, 0);
    EXPECT_EQ(dpctl({"set", "Boot.Mode=CSM"}).exit_code, 1);
    EXPECT_EQ(server_.stop(), 0);
    ASSERT_TRUE(server_.start()) << service_process::log();
    ASSERT_EQ(dpctl({"set", "Boot.Mode=Legacy"}).exit_code, 0);
    const auto result = dpctl({"history"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_THAT(result.out, testing::ContainsRegex(
                                "Boot.Delay +[0-9]+ +60 +-\n(.*)Boot.Mode +UEFI +Legacy +-\n"));
    EXPECT_THAT(result.out, Not(HasSubstr("CSM")));
    EXPECT_THAT(dpctl({"history", "Boot.Delay"}).out, Not(HasSubstr("Boot.Mode")));
}

TEST_F(dpctl_with_service, check_reports_a_bios_update) {
    service_process::place_update(test::sample_template(), "B2");
    const std::string notice = service_process::path("/notice");
    const std::string check =
        test::program_path("dpctl") + " check Boot --wait 40 --json 2>" + notice;
    std::string answer;
    std::thread update([&] {
        // dpctl compares with the files as they were before this notice.
        if (test::wait_for_text(notice, "watching for changes")) {
            answer = service_process::update();
        }
    });
    const auto result = test::run_program("/bin/sh", {"-c", check});
    update.join();
    EXPECT_EQ(answer, "0");
    EXPECT_EQ(result.exit_code, 4) << test::read_file(notice);
    const json document = json::parse(result.out, nullptr, false);
    ASSERT_TRUE(document.is_object()) << result.out;
    EXPECT_EQ(document["changed"], true);
    EXPECT_THAT(document["reasons"],
                testing::Contains(testing::ResultOf(
                    [](const json& reason) { return reason["code"].get<int>(); }, testing::Eq(6))));
}

TEST_F(dpctl_with_service, reads_without_the_service) {
    ASSERT_EQ(dpctl({"set", "Boot.Mode=Legacy"}).exit_code, 0);
    EXPECT_EQ(server_.stop(), 0);
    EXPECT_EQ(dpctl({"get", "Boot.Mode"}).out, "Boot.Mode=Legacy\n");
    const auto same = dpctl({"set", "Boot.Mode=Legacy"});
    EXPECT_EQ(same.exit_code, 0);
    EXPECT_THAT(same.err, IsEmpty());
}

}  // namespace
