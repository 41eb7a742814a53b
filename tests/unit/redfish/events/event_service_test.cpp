#include "redfish/events/event_service.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "redfish/events/event_registries.hpp"
#include "redfish/model/server_model.hpp"
#include "tests/support/recorded_stream.hpp"
#include "tests/support/shown_server.hpp"

namespace {

using dp_redfish::event_filter;
using dp_redfish::event_service;
using dp_redfish::identity;
using dp_redfish::make_event;
using dp_redfish::roles;
using test::recorded_stream;
using test::shown_server;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using namespace std::chrono_literals;

class event_service_test : public testing::Test {
  protected:
    static event_service::options stepped() {
        event_service::options options;
        options.has_thread = false;
        options.most_streams = 3;
        options.most_of_one_user = 2;
        options.origin = "p1";
        return options;
    }

    static std::shared_ptr<recorded_stream> open(event_service& service,
                                                 const std::string& user = "eve",
                                                 const std::string& last_id = "",
                                                 const std::string& filter_text = "") {
        event_filter filter;
        if (!filter_text.empty()) {
            filter = std::get<event_filter>(event_filter::parse(filter_text));
        }
        const auto reserved = service.reserve(
            {{}, {user, roles::read_only, {}}, "192.0.2.7", filter_text}, filter, last_id);
        if (reserved == nullptr) {
            return nullptr;
        }
        auto stream = std::make_shared<recorded_stream>();
        service.begin(reserved, stream);
        return stream;
    }

    static void publish_restart(event_service& service) {
        service.publish(make_event("SettingsEvents", "ServerRestarted", {},
                                   "/redfish/v1/Systems/system", "ComputerSystem", ""));
    }

    event_service::clock::time_point now = event_service::clock::now();
};

TEST_F(event_service_test, sends_events_to_all_streams_whose_filter_lets_them_pass) {
    event_service service(stepped());
    const auto all = open(service);
    const auto managers = open(service, "eve", "", "ResourceType eq 'Manager'");
    publish_restart(service);
    EXPECT_THAT(all->events(), ElementsAre("ServerRestarted"));
    EXPECT_THAT(managers->events(), IsEmpty());
    EXPECT_EQ(managers->text(), "retry: 3000\n\n");
}

TEST_F(event_service_test, limits_the_streams_of_one_user_and_of_all) {
    event_service service(stepped());
    const auto one = open(service);
    const auto two = open(service);
    EXPECT_EQ(open(service), nullptr);
    const auto other = open(service, "bob");
    EXPECT_NE(other, nullptr);
    EXPECT_EQ(open(service, "admin"), nullptr);
    one->close();
    EXPECT_NE(open(service, "admin"), nullptr);
    EXPECT_EQ(service.streams().size(), 3U);
}

TEST_F(event_service_test, takes_back_a_reservation_that_was_not_used) {
    event_service service(stepped());
    {
        const auto one = service.reserve({{}, {"eve", roles::read_only, {}}, {}, {}}, {}, "");
        const auto two = service.reserve({{}, {"eve", roles::read_only, {}}, {}, {}}, {}, "");
        EXPECT_NE(two, nullptr);
        EXPECT_EQ(service.reserve({{}, {"eve", roles::read_only, {}}, {}, {}}, {}, ""), nullptr);
        EXPECT_TRUE(service.streams().empty());
    }
    EXPECT_NE(open(service), nullptr);
}

TEST_F(event_service_test, removes_a_stream_whose_client_is_gone) {
    event_service service(stepped());
    const auto stream = open(service);
    ASSERT_EQ(service.streams().size(), 1U);
    EXPECT_EQ(service.streams()[0].peer, "192.0.2.7");
    stream->close();
    EXPECT_TRUE(service.streams().empty());
}

TEST_F(event_service_test, ends_a_stream_on_request) {
    event_service service(stepped());
    const std::weak_ptr<recorded_stream> stream = open(service);
    EXPECT_FALSE(stream.expired());
    EXPECT_TRUE(service.end(service.streams().at(0).id));
    EXPECT_TRUE(stream.expired()) << "the destruction of a stream ends it";
    EXPECT_FALSE(service.end("1"));
}

TEST_F(event_service_test, sends_what_a_client_missed) {
    event_service service(stepped());
    auto stream = open(service);
    publish_restart(service);
    publish_restart(service);
    const std::string first = stream->ids().at(0);
    stream->close();
    publish_restart(service);
    const auto again = open(service, "eve", first);
    EXPECT_THAT(again->events(), ElementsAre("ServerRestarted", "ServerRestarted"));
}

TEST_F(event_service_test, sends_the_newest_of_very_long_events_that_a_client_missed) {
    event_service service(stepped());
    const auto before = open(service);
    publish_restart(service);
    const std::string first = before->ids().at(0);
    before->close();
    for (int i = 0; i < 200; ++i) {
        service.publish(make_event("SettingsEvents", "PendingValueSet",
                                   {std::to_string(i), std::string(4096, 'x')},
                                   "/redfish/v1/Systems/system/Bios/Settings", "Bios", ""));
    }
    const auto stream = open(service, "eve", first);
    const auto events = stream->events();
    ASSERT_GT(events.size(), 10U);
    EXPECT_EQ(events.front(), "EventBufferExceeded");
    EXPECT_THAT(events.back(), testing::StartsWith("PendingValueSet 199 "));
    EXPECT_LT(stream->text().size(), 600'000U) << "a connection with more is closed";
}

TEST_F(event_service_test, says_when_a_client_may_have_missed_events) {
    event_service service(stepped());
    publish_restart(service);
    const auto stream = open(service, "eve", "unknown\r\n", "ResourceType eq 'Manager'");
    EXPECT_THAT(stream->events(), ElementsAre("EventBufferExceeded"));
    const auto all = open(service, "eve", "unknown");
    EXPECT_THAT(all->events(), ElementsAre("EventBufferExceeded", "ServerRestarted"));
    EXPECT_EQ(stream->text().find("unknown"), std::string::npos);
    EXPECT_NE(stream->text().find(
                  R"("MessageId":")" +
                  dp_redfish::event_registry_named("Base")->message_id("EventBufferExceeded")),
              std::string::npos);
}

TEST_F(event_service_test, keeps_streams_alive_that_have_no_events) {
    event_service service(stepped());
    const auto stream = open(service);
    const auto start = event_service::clock::now();
    service.tick(start + 10s);
    EXPECT_EQ(stream->text().find(": keep-alive"), std::string::npos);
    service.tick(start + 16s);
    EXPECT_THAT(stream->text(), HasSubstr(": keep-alive\n\n"));
}

TEST_F(event_service_test, ends_the_streams_of_clients_that_are_no_longer_admitted) {
    bool is_admitted = true;
    auto options = stepped();
    options.admission_of = [&](const identity& client) {
        return [&is_admitted, user = client.user] { return user != "eve" || is_admitted; };
    };
    event_service service(options);
    const auto eve = open(service);
    const auto bob = open(service, "bob");
    service.tick(now);
    EXPECT_EQ(service.streams().size(), 2U);
    is_admitted = false;
    service.tick(now);
    ASSERT_EQ(service.streams().size(), 1U);
    EXPECT_EQ(service.streams()[0].client.user, "bob");
}

TEST_F(event_service_test, reports_when_the_settings_service_ends_and_starts) {
    bool runs = true;
    auto options = stepped();
    options.has_settings_service = [&] { return runs; };
    event_service service(options);
    const auto stream = open(service);
    service.tick(now);
    EXPECT_THAT(stream->events(), IsEmpty());
    runs = false;
    service.tick(now);
    service.tick(now);
    runs = true;
    service.tick(now);
    EXPECT_THAT(stream->events(),
                ElementsAre("ResourceStatusChangedCritical /redfish/v1/Managers/bmc Critical",
                            "ResourceStatusChangedOK /redfish/v1/Managers/bmc OK"));
}

TEST_F(event_service_test, sends_what_changed_in_the_files) {
    const shown_server::values values{{"Boot.Mode", "UEFI"}};
    const shown_server files(test::sample_template(), values, values);
    shown_server::set_history("<c,id=1> 2026-11-22T15:25:09+01:00   Boot.Mode   \"UEFI\"\n");
    dp_redfish::server_model model;
    event_service service(stepped());
    model.set_observer([&](const auto& seen) { service.observe(seen); });
    service.start_watching(model.read_now());
    const auto stream = open(service);
    EXPECT_THAT(stream->events(), IsEmpty()) << "what happened before is not new";
    shown_server::set_current(values);
    model.read_now();
    EXPECT_THAT(stream->events(), ElementsAre("ServerRestarted"));
    // A client of an earlier process of the service, which knew the history only.
    const std::string record = model.read_now()->history->ids().at(0);
    const auto later = open(service, "bob", record + "_p0_9");
    EXPECT_THAT(later->events(), ElementsAre("ServerRestarted"));
    model.stop();
}

TEST_F(event_service_test, ends_with_streams_open) {
    auto options = stepped();
    options.has_thread = true;
    const auto service = std::make_unique<event_service>(options);
    const auto stream = open(*service);
    service->stop();
    EXPECT_TRUE(service->streams().empty());
    EXPECT_EQ(open(*service), nullptr);
}

}  // namespace
