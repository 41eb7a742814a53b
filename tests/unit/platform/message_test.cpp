#include "platform/sysipc/message.hpp"

#include <gtest/gtest.h>

#include <array>
#include <sstream>
#include <vector>

#include "platform/dp/message_formatter.hpp"
#include "platform/fm/message_formatter.hpp"
#include "platform/sysipc/parameter_list.hpp"

namespace {

using bytes = std::vector<unsigned char>;

bytes bytes_of(const sysipc::message& message) {
    return {message.data(), message.data() + message.size()};
}

std::string printed(const auto& formatter) {
    std::ostringstream text;
    text << formatter;
    return text.str();
}

TEST(message, is_empty_at_first) {
    const sysipc::message message(8096);
    EXPECT_EQ(bytes_of(message), (bytes{0, 0, 0, 0}));
    EXPECT_EQ(message.payload_capacity(), 8092U);
    EXPECT_EQ(message.payload_length(), 0U);
    EXPECT_EQ(message.kind(), 0U);
}

TEST(message, lays_out_source_queue_length_and_kind) {
    sysipc::message message(8096);
    message.set_source(7);
    message.set_queue(3);
    message.set_kind(0x1234);
    message.set_payload_length(2);
    EXPECT_EQ(bytes_of(message), (bytes{7, 3, 2, 0, 0x34, 0x12}));
    message.set_payload_length(0x0102);
    EXPECT_EQ(message.size(), 4U + 0x0102U);
    EXPECT_EQ(message.data()[2], 0x02);
    EXPECT_EQ(message.data()[3], 0x01);
}

TEST(message, a_payload_is_never_longer_than_the_buffer) {
    sysipc::message message(8096);
    message.set_payload_length(8093);
    EXPECT_EQ(message.payload_length(), 8092U);
    sysipc::message smallest(0);
    smallest.set_kind(9);
    smallest.set_payload_length(100);
    EXPECT_EQ(bytes_of(smallest), (bytes{0, 0, 2, 0, 9, 0}));
    EXPECT_EQ(sysipc::message(1'000'000).payload_capacity(), 65531U);
}

TEST(message, takes_over_the_bytes_of_another) {
    sysipc::message sent(8096);
    sent.set_source(1);
    sent.set_queue(8);
    sent.set_kind(16);
    sent.payload()[2] = 0xAB;
    sent.set_payload_length(3);
    sysipc::message received(100);
    ASSERT_TRUE(received.assign(sent.data(), sent.size()));
    EXPECT_EQ(bytes_of(received), bytes_of(sent));
    EXPECT_EQ(received.source(), 1);
    EXPECT_EQ(received.queue(), 8);
    EXPECT_EQ(received.kind(), 16);
}

TEST(message, bytes_that_are_no_message_leave_it_empty) {
    const std::vector<bytes> wrong = {{},
                                      {1, 2},
                                      {1, 2, 0, 0},
                                      {1, 2, 1, 0, 5},
                                      {1, 2, 3, 0, 5, 5},
                                      {1, 2, 1, 0, 5, 5},
                                      {1, 2, 0xFF, 0xFF, 5, 5}};
    for (const auto& data : wrong) {
        sysipc::message message(100);
        message.set_source(9);
        message.set_payload_length(2);
        EXPECT_FALSE(message.assign(data.data(), data.size()));
        EXPECT_EQ(bytes_of(message), (bytes{0, 0, 0, 0}));
    }
}

TEST(message, bytes_beyond_the_buffer_are_refused) {
    sysipc::message sent(200);
    sent.set_payload_length(97);
    sysipc::message received(100);
    EXPECT_FALSE(received.assign(sent.data(), sent.size()));
    sent.set_payload_length(96);
    EXPECT_TRUE(received.assign(sent.data(), sent.size()));
}

TEST(parameter_list, adds_arrays_one_behind_the_other) {
    sysipc::message message(8096);
    message.set_kind(11);
    sysipc::parameter_list parameters(message, 2);
    EXPECT_EQ(parameters.byte_count(), 0U);
    const std::array<unsigned char, 3> three = {1, 2, 3};
    EXPECT_TRUE(parameters.add_byte_array(three.data(), three.size()));
    EXPECT_TRUE(parameters.add_byte_array(three.data(), 0));
    EXPECT_TRUE(parameters.add_byte_array(three.data() + 1, 1));
    EXPECT_EQ(parameters.byte_count(), 4U);
    message.set_payload_length(parameters.byte_count() + 2);
    EXPECT_EQ(bytes_of(message), (bytes{0, 0, 6, 0, 11, 0, 1, 2, 3, 2}));
}

TEST(parameter_list, refuses_what_does_not_fit) {
    sysipc::message message(10);
    const bytes data(8096, 0xEE);
    sysipc::parameter_list parameters(message, 2);
    EXPECT_FALSE(parameters.add_byte_array(data.data(), 5));
    EXPECT_FALSE(parameters.add_byte_array(data.data(), data.size()));
    EXPECT_TRUE(parameters.add_byte_array(data.data(), 4));
    EXPECT_FALSE(parameters.add_byte_array(data.data(), 1));
    EXPECT_EQ(parameters.byte_count(), 4U);
    sysipc::parameter_list beyond(message, 100);
    EXPECT_FALSE(beyond.add_byte_array(data.data(), 1));
}

TEST(dp_message_formatter, lays_out_kind_alert_plugin_and_value) {
    sysipc::message message(8096);
    dp::message_formatter formatter(message);
    EXPECT_EQ(formatter.parameter_byte_count(), 0U);
    formatter.send_alert_plugins(dp::command::alerts::persist_failed, 3, 28);
    EXPECT_EQ(formatter.parameter_byte_count(), 2U);
    message.set_payload_length(formatter.parameter_byte_count() + 4);
    EXPECT_EQ(bytes_of(message), (bytes{0, 0, 6, 0, 1, 0, 2, 0, 3, 28}));
    EXPECT_EQ(printed(formatter), "persist_failed plugin=3 value=28");
}

TEST(dp_message_formatter, reads_what_another_wrote) {
    sysipc::message message(8096);
    dp::message_formatter writer(message);
    writer.send_alert_plugins(static_cast<dp::command::alerts>(0x0302), 255, 254);
    message.set_payload_length(writer.parameter_byte_count() + 4);
    const dp::message_formatter reader(message);
    ASSERT_TRUE(reader.is_alert());
    EXPECT_EQ(static_cast<unsigned>(reader.alert()), 0x0302U);
    EXPECT_EQ(reader.id(), 255);
    EXPECT_EQ(reader.value(), 254);
    EXPECT_EQ(printed(reader), "770 plugin=255 value=254");
}

TEST(dp_message_formatter, prints_every_alert_by_name) {
    using dp::command::alerts;
    sysipc::message message(8096);
    const std::vector<std::pair<alerts, std::string>> names = {
        {alerts::settings_changed, "settings_changed"},
        {alerts::persist_failed, "persist_failed"},
        {alerts::bios_updated, "bios_updated"},
        {alerts::server_restarted, "server_restarted"}};
    for (const auto& [alert, name] : names) {
        dp::message_formatter formatter(message);
        formatter.send_alert_plugins(alert, 0, 0);
        message.set_payload_length(formatter.parameter_byte_count() + 4);
        EXPECT_EQ(printed(formatter), name + " plugin=0 value=0");
    }
}

TEST(dp_message_formatter, tells_nothing_of_other_or_short_messages) {
    sysipc::message message(8096);
    dp::message_formatter formatter(message);
    EXPECT_EQ(printed(formatter), "no alert");
    formatter.send_alert_plugins(dp::command::alerts::bios_updated, 1, 1);
    message.set_payload_length(5);
    EXPECT_FALSE(formatter.is_alert());
    message.set_payload_length(6);
    EXPECT_TRUE(formatter.is_alert());
    message.set_kind(11);
    EXPECT_FALSE(formatter.is_alert());
    EXPECT_EQ(formatter.id(), 0);
    EXPECT_EQ(formatter.value(), 0);
    EXPECT_EQ(static_cast<unsigned>(formatter.alert()), 0U);
}

TEST(dp_message_formatter, stays_within_a_small_buffer) {
    sysipc::message message(6);
    dp::message_formatter formatter(message);
    formatter.send_alert_plugins(dp::command::alerts::bios_updated, 1, 1);
    EXPECT_EQ(formatter.parameter_byte_count(), 0U);
    EXPECT_FALSE(formatter.is_alert());
}

TEST(fm_message_formatter, lays_out_kind_alert_identifier_value_and_bytes) {
    sysipc::message message(8096);
    fm::message_formatter formatter(message);
    formatter.send_alert(0x04030201, fm::command::alerts::server_restarted, 9, 10, 11);
    EXPECT_EQ(formatter.parameter_byte_count(), 7U);
    message.set_payload_length(formatter.parameter_byte_count() + 4);
    EXPECT_EQ(bytes_of(message), (bytes{0, 0, 11, 0, 2, 0, 2, 0, 1, 2, 3, 4, 9, 10, 11}));
    ASSERT_TRUE(formatter.is_alert());
    EXPECT_EQ(formatter.id(), 0x04030201U);
    EXPECT_EQ(formatter.alert(), fm::command::alerts::server_restarted);
    EXPECT_EQ(formatter.value(), 9);
    EXPECT_EQ(printed(formatter), "server_restarted value=9");
    message.set_payload_length(10);
    EXPECT_EQ(printed(formatter), "no alert");
}

TEST(fm_message_formatter, prints_every_alert_by_name_and_others_by_number) {
    sysipc::message message(8096);
    fm::message_formatter formatter(message);
    formatter.send_alert(0, fm::command::alerts::bios_updated, 0, 0, 0);
    message.set_payload_length(11);
    EXPECT_EQ(printed(formatter), "bios_updated value=0");
    formatter.send_alert(0, static_cast<fm::command::alerts>(99), 1, 0, 0);
    EXPECT_EQ(printed(formatter), "99 value=1");
}

TEST(fm_message_formatter, stays_within_a_small_buffer) {
    sysipc::message message(6);
    fm::message_formatter formatter(message);
    formatter.send_alert(1, fm::command::alerts::bios_updated, 1, 1, 1);
    EXPECT_EQ(formatter.parameter_byte_count(), 0U);
}

}  // namespace
