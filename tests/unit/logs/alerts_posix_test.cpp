#include "logs/alerts.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "platform/fm/message_formatter.hpp"
#include "platform/posix/message_listener.hpp"
#include "platform/sysipc/message.hpp"
#include "tests/support/alert_queues.hpp"
#include "tests/support/test_platform.hpp"

namespace {

using dp_platform::message_listener;
using testing::ElementsAre;
using testing::IsEmpty;

using send_fm_alert = test::alert_queues;
using send_application_alert = test::alert_queues;

TEST_F(send_fm_alert, sends_the_value_and_zeros_on_queue_3) {
    message_listener listener(3);
    dp::send_fm_alert(fm::command::alerts::server_restarted, 7);
    sysipc::message content = receive(listener);
    const fm::message_formatter formatter(content);
    EXPECT_TRUE(formatter.is_alert());
    EXPECT_EQ(formatter.alert(), fm::command::alerts::server_restarted);
    EXPECT_EQ(formatter.id(), 0U);
    EXPECT_EQ(formatter.value(), 7);
    const auto payload = payload_of(content);
    EXPECT_EQ(payload.size(), 4U + 7) << "the parameters and 4";
    EXPECT_THAT(std::vector<unsigned char>(payload.end() - 2, payload.end()), ElementsAre(0, 0));
}

TEST_F(send_fm_alert, does_not_log_an_alert_that_is_dropped) {
    test::recording_log log(0xFFFFFFFF);
    dp::send_fm_alert(fm::command::alerts::server_restarted, 7);
    EXPECT_THAT(log.lines, IsEmpty());
}

TEST_F(send_application_alert, sends_detail_and_the_low_byte_of_the_value_for_kind_11) {
    message_listener listener(5);
    EXPECT_EQ(dp::send_application_alert(9, 5, 0xAB, 11, 0x12345678), 0);
    const sysipc::message content = receive(listener);
    EXPECT_EQ(content.source(), 9);
    EXPECT_EQ(content.queue(), 5);
    EXPECT_EQ(content.kind(), 11);
    EXPECT_EQ(content.payload_length(), 2U + 2);
    EXPECT_EQ(content.payload()[2], 0xAB);
    EXPECT_EQ(content.payload()[3], 0x78);
}

TEST_F(send_application_alert, sends_only_the_low_byte_of_the_value_for_kind_16) {
    message_listener listener(255);
    EXPECT_EQ(dp::send_application_alert(1, 255, 0xAB, 16, -2), 0);
    const sysipc::message content = receive(listener);
    EXPECT_EQ(content.source(), 1);
    EXPECT_EQ(content.queue(), 255);
    EXPECT_EQ(content.kind(), 16);
    EXPECT_EQ(content.payload_length(), 1U + 2);
    EXPECT_EQ(content.payload()[2], 0xFE);
}

TEST_F(send_application_alert, refuses_every_other_kind_without_sending) {
    message_listener listener(5);
    test::recording_log log(0xFFFFFFFF);
    for (const int kind : {0, 10, 12, 15, 17, -11, 11 + 65536, 16 + 256}) {
        EXPECT_EQ(dp::send_application_alert(1, 5, 2, kind, 3), 1) << kind;
    }
    expect_empty(listener);
    EXPECT_THAT(log.lines, IsEmpty());
}

TEST_F(send_application_alert, returns_1_when_the_queue_is_absent_full_or_without_listener) {
    test::recording_log log(0xFFFFFFFF);
    EXPECT_EQ(dp::send_application_alert(1, 5, 2, 11, 3), 1) << "absent";
    {
        message_listener listener(5);
        ASSERT_TRUE(listener.is_open()) << listener.error();
        int sent = 0;
        while (dp::send_application_alert(1, 5, 2, 16, sent) == 0 && sent < 1000) {
            ++sent;
        }
        EXPECT_GT(sent, 0);
        EXPECT_LT(sent, 1000) << "full";
        receive(listener);
        EXPECT_EQ(dp::send_application_alert(1, 5, 2, 16, 0), 0) << "space again";
    }
    kill_listener_of(5);
    EXPECT_EQ(dp::send_application_alert(1, 5, 2, 11, 3), 1) << "its listener died";
    EXPECT_THAT(log.lines, IsEmpty());
    const message_listener last(5);  // removes the queue
    EXPECT_TRUE(last.is_open());
}

}  // namespace
