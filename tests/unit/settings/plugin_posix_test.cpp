#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "common/log.hpp"
#include "platform/dp/message_formatter.hpp"
#include "platform/posix/message_listener.hpp"
#include "settings/plugin.hpp"
#include "tests/support/alert_queues.hpp"
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

class send_alert : public test::alert_queues {
  protected:
    sample_plugin plugin{42};
};

TEST_F(send_alert, sends_on_queue_8_with_the_source_of_the_plugin) {
    message_listener listener(8);
    test::recording_log log(0xFFFFFFFF);
    plugin.send_alert(dp::command::alerts::persist_failed, 28);
    sysipc::message content = receive(listener);
    const dp::message_formatter formatter(content);
    EXPECT_TRUE(formatter.is_alert());
    EXPECT_EQ(formatter.alert(), dp::command::alerts::persist_failed);
    EXPECT_EQ(formatter.id(), 42) << "the plug-in's source number";
    EXPECT_EQ(formatter.value(), 28);
    EXPECT_EQ(content.payload_length(), 2U + 4) << "the parameters and 4";
    EXPECT_THAT(log.lines, IsEmpty());
    expect_empty(listener);
}

TEST_F(send_alert, logs_an_alert_when_the_queue_does_not_exist) {
    test::recording_log log(dp::log_level::error);
    plugin.send_alert(dp::command::alerts::persist_failed, 28);
    EXPECT_THAT(log.lines,
                ElementsAre(test::recording_log::line{
                    "ERR", " ***ERROR*** FAILED to send alert persist_failed plugin=42 value=28"}));
    log.mask_value = ~dp::log_level::error;
    plugin.send_alert(dp::command::alerts::persist_failed, 28);
    EXPECT_EQ(log.lines.size(), 1U) << "only with the error bit";
}

TEST_F(send_alert, drops_and_logs_the_newest_alert_when_the_queue_is_full) {
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
        sysipc::message content = receive(listener);
        EXPECT_EQ(dp::message_formatter(content).value(), value);
    }
    expect_empty(listener);
    plugin.send_alert(dp::command::alerts::settings_changed, 1);
    EXPECT_EQ(log.lines.size(), 1U) << "the queue has space again";
}

TEST_F(send_alert, logs_an_alert_when_the_listener_has_died) {
    kill_listener_of(8);
    test::recording_log log(dp::log_level::error);
    plugin.send_alert(dp::command::alerts::bios_updated, 0);
    EXPECT_EQ(log.lines.size(), 1U);
    message_listener next(8);
    ASSERT_TRUE(next.is_open()) << next.error();
    expect_empty(next);
    plugin.send_alert(dp::command::alerts::bios_updated, 0);
    EXPECT_EQ(log.lines.size(), 1U);
    receive(next);
}

TEST(create_service_command, returns_the_command_unchanged_without_a_log) {
    EXPECT_EQ(dp::plugin::create_service_command("/bin/service -x"), "/bin/service -x");
}

TEST(create_service_command, appends_the_log_settings) {
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

TEST(create_service_command, appends_level_0) {
    test::recording_log log(1);
    log.file_value = 1;
    EXPECT_EQ(dp::plugin::create_service_command(""), " -f 1 -l 0 -m 1");
    EXPECT_THAT(log.lines, IsEmpty());
}

TEST(create_service_command, appends_nothing_without_a_mask_or_a_file_or_at_level_8) {
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
