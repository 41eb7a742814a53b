#include "redfish/events/event_log.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "support/json.hpp"

namespace {

using dp_redfish::event_filter;
using dp_redfish::event_log;
using dp_redfish::make_event;
using dp_redfish::service_event;
using testing::ElementsAre;

service_event event_of_record(const std::string& id, const std::string& group = "") {
    auto event = make_event("SettingsEvents", "PendingValueSet", {id, "1"}, "/x", "Bios",
                            "2026-11-22T15:25:09+01:00");
    event.record_id = id;
    event.group = group;
    return event;
}

service_event restart() {
    return make_event("SettingsEvents", "ServerRestarted", {}, "/y", "ComputerSystem", "");
}

std::vector<std::string> ids_of(const event_log::entries& events) {
    std::vector<std::string> ids;
    for (const auto& each : events) {
        ids.push_back(each->id);
    }
    return ids;
}

TEST(event_log, gives_the_events_of_change_records_their_ids) {
    event_log log("a1");
    EXPECT_THAT(ids_of(log.add({restart(), event_of_record("r1"), restart(), restart(),
                                event_of_record("r2")})),
                ElementsAre("_a1_1", "r1", "r1_a1_2", "r1_a1_3", "r2"));
}

TEST(event_log, returns_the_events_after_an_id) {
    event_log log("a1");
    log.add({event_of_record("r1"), restart(), event_of_record("r2")});
    EXPECT_THAT(ids_of(*log.after("r1")), ElementsAre("r1_a1_1", "r2"));
    EXPECT_THAT(ids_of(*log.after("r1_a1_1")), ElementsAre("r2"));
    EXPECT_THAT(ids_of(*log.after("r2")), ElementsAre());
    EXPECT_FALSE(log.after("unknown"));
    EXPECT_FALSE(log.after(""));
}

TEST(event_log, knows_the_change_record_before_an_event_of_an_earlier_process) {
    event_log log("b2");
    log.add({event_of_record("r1"), event_of_record("r2")});
    EXPECT_THAT(ids_of(*log.after("r1_a1_7")), ElementsAre("r2"));
    EXPECT_FALSE(log.after("_a1_7"));
}

TEST(event_log, forgets_the_oldest_events) {
    event_log log("a1", 2);
    log.add({event_of_record("r1"), event_of_record("r2"), event_of_record("r3")});
    EXPECT_FALSE(log.after("r1"));
    EXPECT_THAT(ids_of(*log.after("r2")), ElementsAre("r3"));
    EXPECT_THAT(ids_of(log.all()), ElementsAre("r2", "r3"));
}

TEST(stream_texts, sends_the_events_of_a_group_together) {
    event_log log("a1");
    const auto texts =
        stream_texts(log.add({event_of_record("r1", "t1"), event_of_record("r2", "t1"),
                              event_of_record("r3", "t2"), restart(), restart()}),
                     {});
    ASSERT_EQ(texts.size(), 4U);
    EXPECT_EQ(texts[0].substr(0, 13), "id: r2\ndata: ");
    EXPECT_EQ(texts[0].substr(texts[0].size() - 2), "\n\n");
    const auto first = dp_support::parse_json(texts[0].substr(13)).root;
    EXPECT_EQ(first.find("Id")->text, "r2");
    const auto& events = first.find("Events")->items;
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(first.find("Events@odata.count")->integer, 2);
    EXPECT_EQ(events[0].find("MemberId")->text, "0");
    EXPECT_EQ(events[0].find("EventId")->text, "r1");
    EXPECT_EQ(events[1].find("MemberId")->text, "1");
    EXPECT_EQ(events[1].find("EventId")->text, "r2");
}

TEST(stream_texts, bounds_the_size_of_one_text) {
    event_log log("a1");
    std::vector<service_event> many;
    for (int i = 0; i < 250; ++i) {
        many.push_back(event_of_record("r" + std::to_string(i), "t1"));
    }
    EXPECT_EQ(stream_texts(log.add(std::move(many)), {}).size(), 3U);
}

TEST(stream_texts, leaves_out_what_the_filter_does_not_let_pass) {
    event_log log("a1");
    const auto events =
        log.add({event_of_record("r1", "t1"), restart(), event_of_record("r2", "t1")});
    const auto filter = std::get<event_filter>(event_filter::parse("ResourceType eq 'Bios'"));
    const auto texts = stream_texts(events, filter);
    ASSERT_EQ(texts.size(), 1U);
    EXPECT_EQ(texts[0].find("ServerRestarted"), std::string::npos);
    EXPECT_TRUE(stream_texts(events, std::get<event_filter>(
                                         event_filter::parse("ResourceType eq 'Manager'")))
                    .empty());
}

TEST(stream_texts, keeps_an_event_on_one_line) {
    auto event = restart();
    event.arguments = {"two\nlines", "\r"};
    event_log log("a1");
    const auto texts = stream_texts(log.add({event}), {});
    EXPECT_EQ(std::count(texts.at(0).begin(), texts.at(0).end(), '\n'), 3);
    EXPECT_EQ(texts.at(0).find('\r'), std::string::npos);
}

}  // namespace
