#include "platform/dp/message_formatter.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "platform/sysipc/message.hpp"
#include "tests/unit/platform/message_bytes.hpp"

namespace {

using test::bytes;
using test::bytes_of;
using test::printed;

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

TEST(dp_message_formatter, reads_an_alert_that_another_formatter_wrote) {
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

TEST(dp_message_formatter, returns_0_for_other_and_for_short_messages) {
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

TEST(dp_message_formatter, does_not_write_past_a_small_buffer) {
    sysipc::message message(6);
    dp::message_formatter formatter(message);
    formatter.send_alert_plugins(dp::command::alerts::bios_updated, 1, 1);
    EXPECT_EQ(formatter.parameter_byte_count(), 0U);
    EXPECT_FALSE(formatter.is_alert());
}

}  // namespace
