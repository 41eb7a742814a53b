#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <future>
#include <string>
#include <vector>

#include "support/json.hpp"
#include "tests/support/eventually.hpp"
#include "tests/support/redfish_process.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/support/service_process.hpp"

// Streams of events of dp_redfishd, with curl as the client.

namespace {

using test::curl_answer;
using test::redfish_process;
using test::service_process;
using testing::HasSubstr;
using testing::Not;

constexpr const char* stream_path = "/redfish/v1/EventService/SSE";
constexpr const char* subscriptions_path = "/redfish/v1/EventService/Subscriptions";
constexpr const char* pending_path = "/redfish/v1/Systems/system/Bios/Settings";

class redfishd_events : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(server.start()) << service_process::log();
        ASSERT_TRUE(service.start()) << redfish_process::log();
    }

    /// The paths of the open streams.
    std::vector<std::string> streams() const {
        std::vector<std::string> paths;
        const auto document = dp_support::parse_json(service.ask("GET", subscriptions_path).body);
        const auto* const members = document.root.find("Members");
        if (members != nullptr) {
            for (const auto& member : members->items) {
                paths.push_back(member.find("@odata.id")->text);
            }
        }
        return paths;
    }

    /// What a stream sends until it ends. Other requests are made meanwhile.
    curl_answer open_stream(std::vector<std::string> arguments = {}) const {
        arguments.insert(arguments.end(), {"--dump-header", test::root() + "/stream.head"});
        return service.ask("GET", stream_path, "", arguments);
    }

    /// What a stream sends while `happens` does something. The stream ends because its
    /// subscription is deleted.
    template <class Happens>
    std::string stream_during(Happens happens, const std::vector<std::string>& arguments = {}) {
        auto received = std::async(std::launch::async, [&] { return open_stream(arguments); });
        EXPECT_TRUE(test::eventually([&] { return streams().size() == 1; }));
        happens();
        // Everything that happened is in the streams when this is answered.
        static_cast<void>(service.ask("GET", pending_path));
        for (const auto& path : streams()) {
            EXPECT_EQ(service.ask("DELETE", path).status, 204U);
        }
        return received.get().body;
    }

    service_process server;
    redfish_process service;
};

TEST_F(redfishd_events, reach_a_client_and_can_be_resumed_after_a_restart_of_the_service) {
    const std::string first = stream_during([&] {
        EXPECT_EQ(service.ask("PATCH", pending_path, R"({"Attributes":{"Delay":10}})").status,
                  200U);
        EXPECT_EQ(service
                      .ask("POST", "/redfish/v1/Systems/system/Actions/ComputerSystem.Reset",
                           R"({"ResetType":"ForceRestart"})")
                      .status,
                  204U);
    });
    EXPECT_THAT(first, HasSubstr(R"("MessageArgs":["Delay","5","10"])"));
    EXPECT_THAT(first, HasSubstr("SettingsEvents.1.0.ServerRestarted"));
    const std::size_t begin = first.find("id: ") + 4;
    const std::string id = first.substr(begin, first.find('\n', begin) - begin);
    EXPECT_EQ(service.stop(), 0);
    EXPECT_THAT(service_process::run_batch("0 1 t set Boot.Delay \"15\" \"\"\n"),
                HasSubstr("Boot.Delay"));
    ASSERT_TRUE(service.start());
    const std::string missed = stream_during([] {}, {"--header", "Last-Event-ID: " + id});
    EXPECT_THAT(missed, HasSubstr(R"("MessageArgs":["Delay","10","15"])"));
    EXPECT_THAT(missed, Not(HasSubstr("EventBufferExceeded")));
    EXPECT_THAT(missed, Not(HasSubstr(R"(["Delay","5","10"])")));
}

TEST_F(redfishd_events, end_when_the_service_ends) {
    auto received = std::async(std::launch::async, [&] { return open_stream(); });
    ASSERT_TRUE(test::eventually([&] { return streams().size() == 1; }));
    EXPECT_EQ(service.stop(), 0);
    EXPECT_THAT(received.get().body, HasSubstr("retry: "));
}

TEST_F(redfishd_events, follow_a_change_that_its_client_does_not_wait_for) {
    const std::string events = stream_during([&] {
        const auto accepted = service.ask("PATCH", pending_path, R"({"Attributes":{"Delay":10}})",
                                          {"--header", "Prefer: respond-async"});
        EXPECT_EQ(accepted.status, 202U) << accepted.body;
        const std::string monitor = accepted.field("Location");
        EXPECT_TRUE(test::eventually([&] { return service.ask("GET", monitor).status == 200U; }));
    });
    EXPECT_THAT(events, HasSubstr("TaskEvent.1.0.TaskStarted"));
    EXPECT_THAT(events, HasSubstr("TaskEvent.1.0.TaskCompletedOK"));
}

}  // namespace
