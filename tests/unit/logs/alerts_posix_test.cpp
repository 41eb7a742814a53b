#include "logs/alerts.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <string>
#include <vector>

#include "common/log.hpp"
#include "platform/dp/message_formatter.hpp"
#include "platform/fm/message_formatter.hpp"
#include "platform/posix/message_listener.hpp"
#include "platform/sysipc/message.hpp"
#include "settings/plugin.hpp"
#include "tests/support/child_process.hpp"
#include "tests/support/own_queues.hpp"
#include "tests/support/test_platform.hpp"

namespace {

using dp_platform::message_listener;
using testing::ElementsAre;
using testing::IsEmpty;

class sample_plugin : public dp::plugin {
  public:
    explicit sample_plugin(std::uint8_t alert_source)
        : dp::plugin("sample", dp::plugin::settings_owner, alert_source) {}
    void on_start(dp::registrar&) override {}
    void on_stop(dp::registrar&) override {}
};

// Queues of this run only, and a listener's messages.
class alerts : public testing::Test {
  protected:
    // The next message, which must be there.
    static sysipc::message take(message_listener& listener) {
        EXPECT_TRUE(listener.is_open()) << listener.error();
        sysipc::message content(8096);
        EXPECT_EQ(listener.receive(content, 0), message_listener::result::received);
        return content;
    }

    static void expect_empty(message_listener& listener) {
        sysipc::message content(8096);
        EXPECT_EQ(listener.receive(content, 0), message_listener::result::timeout);
    }

    static std::vector<unsigned char> payload_of(const sysipc::message& content) {
        return {content.payload(), content.payload() + content.payload_length()};
    }

    // Leaves a queue behind whose listener was killed.
    static void kill_a_listener(unsigned char number) {
        test::child_process listener([number](const test::child_process::parent_channel& parent) {
            const message_listener queue(number);
            parent.send(queue.is_open() ? 'y' : 'n');
            return static_cast<int>(parent.receive());
        });
        EXPECT_EQ(listener.receive(), 'y');
        kill(listener.pid(), SIGKILL);
        EXPECT_EQ(listener.wait(), 128 + SIGKILL);
    }

    test::own_queues queues;
    sample_plugin plugin{42};
};

// ---- plugin::send_alert

TEST_F(alerts, a_plugin_alerts_on_queue_8) {
    message_listener listener(8);
    test::recording_log log(0xFFFFFFFF);
    plugin.send_alert(dp::command::alerts::persist_failed, 28);
    sysipc::message content = take(listener);
    const dp::message_formatter formatter(content);
    EXPECT_TRUE(formatter.is_alert());
    EXPECT_EQ(formatter.alert(), dp::command::alerts::persist_failed);
    EXPECT_EQ(formatter.id(), 42) << "the plug-in's source number";
    EXPECT_EQ(formatter.value(), 28);
    EXPECT_EQ(content.payload_length(), 2U + 4) << "the parameters and 4";
    EXPECT_THAT(log.lines, IsEmpty());
    expect_empty(listener);
}

TEST_F(alerts, a_plugin_alert_without_a_queue_is_logged) {
    test::recording_log log(dp::log_level::error);
    plugin.send_alert(dp::command::alerts::persist_failed, 28);
    EXPECT_THAT(log.lines,
                ElementsAre(test::recording_log::line{
                    "ERR", " ***ERROR*** FAILED to send alert persist_failed plugin=42 value=28"}));
    log.mask_value = ~dp::log_level::error;
    plugin.send_alert(dp::command::alerts::persist_failed, 28);
    EXPECT_EQ(log.lines.size(), 1U) << "only with the error bit";
}

TEST_F(alerts, a_full_queue_drops_the_newest_alert) {
    message_listener listener(8);
    test::recording_log log(dp::log_level::error);
    unsigned char sent = 0;
    while (log.lines.empty() && sent < 255) {
        plugin.send_alert(dp::command::alerts::settings_changed, ++sent);
    }
    EXPECT_GT(sent, 1);
    EXPECT_EQ(log.lines.size(), 1U);
    EXPECT_EQ(log.lines[0].text,
              " ***ERROR*** FAILED to send alert settings_changed plugin=42 value=" +
                  std::to_string(sent));
    for (unsigned char value = 1; value < sent; ++value) {
        sysipc::message content = take(listener);
        EXPECT_EQ(dp::message_formatter(content).value(), value);
    }
    expect_empty(listener);
    plugin.send_alert(dp::command::alerts::settings_changed, 1);
    EXPECT_EQ(log.lines.size(), 1U) << "there is room again";
}

TEST_F(alerts, a_queue_whose_reader_died_takes_no_alert) {
    kill_a_listener(8);
    test::recording_log log(dp::log_level::error);
    plugin.send_alert(dp::command::alerts::bios_updated, 0);
    EXPECT_EQ(log.lines.size(), 1U);
    message_listener next(8);
    ASSERT_TRUE(next.is_open()) << next.error();
    expect_empty(next);
    plugin.send_alert(dp::command::alerts::bios_updated, 0);
    EXPECT_EQ(log.lines.size(), 1U);
    take(next);
}

// ---- send_fm_alert

TEST_F(alerts, the_firmware_manager_is_alerted_on_queue_3) {
    message_listener listener(3);
    dp::send_fm_alert(fm::command::alerts::server_restarted, 7);
    sysipc::message content = take(listener);
    const fm::message_formatter formatter(content);
    EXPECT_TRUE(formatter.is_alert());
    EXPECT_EQ(formatter.alert(), fm::command::alerts::server_restarted);
    EXPECT_EQ(formatter.id(), 0U);
    EXPECT_EQ(formatter.value(), 7);
    const auto payload = payload_of(content);
    EXPECT_EQ(payload.size(), 4U + 7) << "the parameters and 4";
    EXPECT_THAT(std::vector<unsigned char>(payload.end() - 2, payload.end()), ElementsAre(0, 0));
}

TEST_F(alerts, a_lost_firmware_manager_alert_is_not_logged) {
    test::recording_log log(0xFFFFFFFF);
    dp::send_fm_alert(fm::command::alerts::server_restarted, 7);
    EXPECT_THAT(log.lines, IsEmpty());
}

// ---- send_application_alert

TEST_F(alerts, kind_11_carries_detail_and_the_low_byte_of_the_value) {
    message_listener listener(5);
    EXPECT_EQ(dp::send_application_alert(9, 5, 0xAB, 11, 0x12345678), 0);
    const sysipc::message content = take(listener);
    EXPECT_EQ(content.source(), 9);
    EXPECT_EQ(content.queue(), 5);
    EXPECT_EQ(content.kind(), 11);
    EXPECT_EQ(content.payload_length(), 2U + 2);
    EXPECT_EQ(content.payload()[2], 0xAB);
    EXPECT_EQ(content.payload()[3], 0x78);
}

TEST_F(alerts, kind_16_carries_the_low_byte_of_the_value_only) {
    message_listener listener(255);
    EXPECT_EQ(dp::send_application_alert(1, 255, 0xAB, 16, -2), 0);
    const sysipc::message content = take(listener);
    EXPECT_EQ(content.source(), 1);
    EXPECT_EQ(content.queue(), 255);
    EXPECT_EQ(content.kind(), 16);
    EXPECT_EQ(content.payload_length(), 1U + 2);
    EXPECT_EQ(content.payload()[2], 0xFE);
}

TEST_F(alerts, any_other_kind_is_refused_without_sending) {
    message_listener listener(5);
    test::recording_log log(0xFFFFFFFF);
    for (const int kind : {0, 10, 12, 15, 17, -11, 11 + 65536, 16 + 256}) {
        EXPECT_EQ(dp::send_application_alert(1, 5, 2, kind, 3), 1) << kind;
    }
    expect_empty(listener);
    EXPECT_THAT(log.lines, IsEmpty());
}

TEST_F(alerts, an_application_alert_reports_a_queue_that_takes_none) {
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
        take(listener);
        EXPECT_EQ(dp::send_application_alert(1, 5, 2, 16, 0), 0) << "room again";
    }
    kill_a_listener(5);
    EXPECT_EQ(dp::send_application_alert(1, 5, 2, 11, 3), 1) << "its reader died";
    EXPECT_THAT(log.lines, IsEmpty());
    const message_listener last(5);  // takes the queue away
    EXPECT_TRUE(last.is_open());
}

// ---- plugin::create_service_command

TEST(service_command, is_unchanged_without_a_log) {
    EXPECT_EQ(dp::plugin::create_service_command("/bin/service -x"), "/bin/service -x");
}

TEST(service_command, passes_the_log_settings_on) {
    test::recording_log log(dp::log_level::error | dp::log_level::trace_4);
    log.file_value = 2147483647;
    log.level_value = 4294967295U;
    EXPECT_EQ(dp::plugin::create_service_command("/bin/service -x"),
              "/bin/service -x -f 2147483647 -l 4294967295 -m 268435460");
    EXPECT_THAT(log.lines, ElementsAre(test::recording_log::line{
                               "LOG",
                               " Service Command: /bin/service -x -f 2147483647 -l 4294967295 "
                               "-m 268435460"}));
}

TEST(service_command, a_level_of_0_is_passed_on) {
    test::recording_log log(1);
    log.file_value = 1;
    EXPECT_EQ(dp::plugin::create_service_command(""), " -f 1 -l 0 -m 1");
    EXPECT_THAT(log.lines, IsEmpty());
}

TEST(service_command, needs_a_mask_a_level_other_than_8_and_a_file) {
    test::recording_log log(dp::log_level::trace_4);
    log.file_value = 3;
    log.level_value = 8;
    EXPECT_EQ(dp::plugin::create_service_command("c"), "c");
    log.level_value = 7;
    log.file_value = 0;
    EXPECT_EQ(dp::plugin::create_service_command("c"), "c");
    log.file_value = -1;
    EXPECT_EQ(dp::plugin::create_service_command("c"), "c");
    EXPECT_EQ(log.lines.size(), 3U) << "the unchanged line is traced too";
    EXPECT_EQ(log.lines[0].text, " Service Command: c");
    log.file_value = 3;
    log.mask_value = 0;
    EXPECT_EQ(dp::plugin::create_service_command("c"), "c");
    log.mask_value = 0x80000000;
    EXPECT_EQ(dp::plugin::create_service_command("c"), "c -f 3 -l 7 -m 2147483648");
}

}  // namespace
