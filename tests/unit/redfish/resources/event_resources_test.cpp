#include "redfish/resources/event_resources.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <future>
#include <memory>
#include <string>
#include <utility>

#include "redfish/resources/resource_paths.hpp"
#include "tests/support/recorded_stream.hpp"
#include "tests/support/redfish_exchange.hpp"
#include "tests/support/shown_server.hpp"

namespace {

namespace paths = dp_redfish::resource_paths;
using dp_redfish::event_service;
using dp_redfish::roles;
using test::recorded_stream;
using test::redfish_response;
using test::shown_server;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string action = "/redfish/v1/EventService/Actions/EventService.SubmitTestEvent";

class event_resources : public testing::Test {
  protected:
    static event_service::options stepped() {
        event_service::options options;
        options.has_thread = false;
        options.most_of_one_user = 2;
        return options;
    }

    event_resources() {
        add_event_routes(routes, model, events);
        model.set_observer([this](const auto& now) { events.observe(now); });
    }
    ~event_resources() override { model.stop(); }

    // Opens a stream as the HTTP server does; null if it is refused.
    std::shared_ptr<recorded_stream> open(const std::string& query = "",
                                          const std::string& last_id = "") {
        auto request = test::request_of("GET", paths::event_stream + query);
        if (!last_id.empty()) {
            request.headers["Last-Event-ID"] = last_id;
        }
        std::promise<dp_redfish::http_response> answered;
        service.handle(
            std::make_shared<const dp_redfish::http_request>(std::move(request)),
            [&](dp_redfish::http_response response) { answered.set_value(std::move(response)); });
        const auto response = answered.get_future().get();
        if (!response.start_stream) {
            return nullptr;
        }
        EXPECT_EQ(response.headers.at("Content-Type"), "text/event-stream");
        auto stream = std::make_shared<recorded_stream>();
        response.start_stream(stream);
        return stream;
    }

    void be(const std::string& user, roles role) { access.next.caller = {user, role, {}}; }

    shown_server::values values{{"Boot.Mode", "UEFI"}, {"Boot.Delay", "5"}};
    shown_server files{test::sample_template(), values, values};
    dp_redfish::server_model model;
    event_service events{stepped()};
    dp_redfish::route_table routes;
    test::fixed_access access;
    dp_redfish::gateway service{routes, access};
};

TEST_F(event_resources, show_open_streams_as_subscriptions) {
    const auto stream = open("?$filter=ResourceType%20eq%20Bios");
    EXPECT_EQ(stream, nullptr) << "the server decodes the query before";
    const auto filtered = open("?$filter=ResourceType eq Bios");
    ASSERT_NE(filtered, nullptr);
    const auto list = test::get(service, paths::event_subscriptions);
    ASSERT_EQ(list.body.find("Members")->items.size(), 1U);
    const std::string path = list.body.find("Members")->items[0].find("@odata.id")->text;
    const auto shown = test::get(service, path);
    EXPECT_EQ(shown.body.find("SubscriptionType")->text, "SSE");
    EXPECT_EQ(shown.body.find("Context")->text, "ResourceType eq Bios");
    filtered->close();
    EXPECT_EQ(test::get(service, path).status, 404U);
}

TEST_F(event_resources, end_a_stream_when_its_subscription_is_deleted) {
    be("eve", roles::read_only);
    const std::weak_ptr<recorded_stream> stream = open();
    const std::string path = std::string(paths::event_subscriptions) + "/1";
    be("bob", roles::operator_role);
    EXPECT_EQ(test::get(service, path).status, 404U) << "it is another one's";
    EXPECT_EQ(test::send(service, "DELETE", path, "").status, 404U);
    EXPECT_FALSE(stream.expired());
    be("admin", roles::administrator);
    EXPECT_EQ(test::send(service, "DELETE", path, "").status, 204U);
    EXPECT_TRUE(stream.expired());
    EXPECT_EQ(test::send(service, "DELETE", path, "").status, 404U);
}

TEST_F(event_resources, say_why_push_subscriptions_are_refused) {
    for (const char* const more : {"", "/Members"}) {
        const auto refused =
            test::send(service, "POST", paths::event_subscriptions + std::string(more),
                       R"({"Destination": "https://192.0.2.1/", "Protocol": "Redfish"})");
        EXPECT_EQ(refused.status, 405U);
        EXPECT_EQ(refused.header("Allow"), "GET, HEAD");
        EXPECT_THAT(refused.text, HasSubstr(paths::event_stream));
    }
    const auto shown = test::get(service, paths::event_subscriptions);
    EXPECT_EQ(shown.header("Allow"), "GET, HEAD");
}

TEST_F(event_resources, refuse_more_streams_than_the_limit) {
    const auto one = open();
    const auto two = open();
    const auto refused = test::get(service, paths::event_stream);
    EXPECT_EQ(refused.status, 503U);
    EXPECT_NE(refused.header("Retry-After"), "");
    EXPECT_THAT(refused.messages(), ElementsAre("EventSubscriptionLimitExceeded"));
    one->close();
    EXPECT_NE(open(), nullptr);
}

TEST_F(event_resources, answer_head_without_a_stream) {
    const auto head = test::exchange(service, test::request_of("HEAD", paths::event_stream));
    EXPECT_EQ(head.status, 200U);
    EXPECT_EQ(head.header("Content-Type"), "text/event-stream");
    EXPECT_TRUE(events.streams().empty());
}

TEST_F(event_resources, refuse_queries_that_the_stream_does_not_have) {
    const auto ask = [&](const std::string& query) {
        return test::get(service, paths::event_stream + query);
    };
    EXPECT_EQ(ask("?$filter=").status, 400U);
    EXPECT_EQ(ask("?$filter=Severity eq OK").status, 400U);
    EXPECT_EQ(ask("?$filter=ResourceType eq Bios&$filter=ResourceType eq Bios").status, 400U);
    EXPECT_EQ(ask("?$filter=EventFormatType eq MetricReport").status, 501U);
    EXPECT_EQ(ask("?$top=1").status, 501U);
    auto request = test::request_of("GET", paths::event_stream);
    request.headers["Accept"] = "application/json";
    EXPECT_EQ(test::exchange(service, std::move(request)).status, 406U);
    EXPECT_TRUE(events.streams().empty());
}

TEST_F(event_resources, send_the_changes_of_values) {
    const auto stream = open();
    ASSERT_NE(stream, nullptr);
    values["Boot.Delay"] = "10";
    shown_server::set_pending(values);
    shown_server::set_history(
        "<c,id=1> 2026-11-22T15:25:09+01:00   Boot.Delay   \"10\"   was \"5\"\n");
    model.read_now();
    EXPECT_THAT(stream->events(), ElementsAre("PendingValueChanged Delay 5 10"));
    const auto late = open("", stream->ids().at(0));
    EXPECT_THAT(late->events(), IsEmpty());
}

TEST_F(event_resources, send_a_test_event_as_it_was_submitted) {
    const auto stream = open();
    const auto sent = test::send(service, "POST", action, R"({
        "MessageId": "Alert.1.0.LanDisconnect", "Message": "Cable", "MessageArgs": ["1", "x"],
        "MessageSeverity": "Warning", "EventTimestamp": "2026-11-22T15:25:09.5+01:00",
        "EventId": "mine", "EventGroupId": 7, "EventType": "Alert", "Severity": "bad",
        "OriginOfCondition": "/redfish/v1/Systems/system/Bios"})");
    EXPECT_EQ(sent.status, 204U) << sent.text;
    const auto event = stream->payloads().at(0).find("Events")->items.at(0);
    EXPECT_EQ(event.find("MessageId")->text, "Alert.1.0.LanDisconnect");
    EXPECT_EQ(event.find("Message")->text, "Cable");
    EXPECT_EQ(event.find("MessageArgs")->items.at(1).text, "x");
    EXPECT_EQ(event.find("MessageSeverity")->text, "Warning");
    EXPECT_EQ(event.find("EventTimestamp")->text, "2026-11-22T15:25:09.5+01:00");
    EXPECT_EQ(event.find("EventId")->text, "mine");
    EXPECT_EQ(event.find("EventGroupId")->integer, 7);
    EXPECT_EQ(event.find("EventType")->text, "Alert");
    EXPECT_EQ(event.find("OriginOfCondition")->find("@odata.id")->text,
              "/redfish/v1/Systems/system/Bios");
}

TEST_F(event_resources, refuse_test_events_that_are_wrong) {
    const auto stream = open();
    const auto ids = [&](const std::string& body) {
        const auto refused = test::send(service, "POST", action, body);
        EXPECT_EQ(refused.status, 400U) << body;
        return refused.messages();
    };
    EXPECT_THAT(ids("{}"), ElementsAre("ActionParameterMissing"));
    EXPECT_THAT(ids(R"({"MessageId": "x"})"), ElementsAre("ActionParameterValueFormatError"));
    EXPECT_THAT(ids(R"({"MessageId": "A.1.0.B.C"})"),
                ElementsAre("ActionParameterValueFormatError"));
    EXPECT_THAT(ids(R"({"MessageId": 5})"), ElementsAre("ActionParameterValueTypeError"));
    EXPECT_THAT(ids(R"({"MessageId": "A.1.0.B", "MessageArgs": [1], "EventGroupId": "1",
                        "MessageSeverity": "bad", "EventTimestamp": "now", "Other": 1})"),
                ElementsAre("ActionParameterValueTypeError", "ActionParameterValueTypeError",
                            "ActionParameterValueNotInList", "ActionParameterValueFormatError",
                            "ActionParameterUnknown"));
    EXPECT_THAT(stream->events(), IsEmpty());
    be("eve", roles::operator_role);
    EXPECT_EQ(test::send(service, "POST", action, R"({"MessageId": "A.1.0.B"})").status, 403U);
}

}  // namespace
