#include "platform/fm/message_formatter.hpp"

#include <gtest/gtest.h>

#include "platform/sysipc/message.hpp"
#include "tests/unit/platform/message_bytes.hpp"

namespace {

using test::bytes;
using test::bytes_of;
using test::printed;

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
    EXPECT_EQ(formatter.id(), 0U);
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

TEST(fm_message_formatter, does_not_write_past_a_small_buffer) {
    sysipc::message message(6);
    fm::message_formatter formatter(message);
    formatter.send_alert(1, fm::command::alerts::bios_updated, 1, 1, 1);
    EXPECT_EQ(formatter.parameter_byte_count(), 0U);
}

}  // namespace
