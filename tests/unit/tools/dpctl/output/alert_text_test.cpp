#include "tools/dpctl/output/alert_text.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "platform/dp/message_formatter.hpp"
#include "platform/fm/message_formatter.hpp"
#include "platform/sysipc/message.hpp"
#include "service_api/service_alerts.hpp"

namespace dpctl {
namespace {

constexpr std::size_t buffer_size = 64;

sysipc::message plugin_alert(unsigned char id, dp::command::alerts alert, unsigned char value) {
    sysipc::message content(buffer_size);
    dp::message_formatter formatter(content);
    formatter.send_alert_plugins(alert, id, value);
    content.set_payload_length(formatter.parameter_byte_count() +
                               dp::message_formatter::payload_offset);
    return content;
}

sysipc::message service_alert(std::uint32_t id, fm::command::alerts alert, unsigned char value) {
    sysipc::message content(buffer_size);
    fm::message_formatter formatter(content);
    formatter.send_alert(id, alert, value, 0, 0);
    content.set_payload_length(formatter.parameter_byte_count() +
                               fm::message_formatter::payload_offset);
    return content;
}

// A message of any kind, with its parameters.
sysipc::message plain(unsigned char source, int kind, const std::vector<unsigned char>& bytes) {
    sysipc::message content(buffer_size);
    content.set_source(source);
    content.set_kind(static_cast<std::uint16_t>(kind));
    std::copy(bytes.begin(), bytes.end(), content.payload() + sysipc::message::kind_size);
    content.set_payload_length(sysipc::message::kind_size + bytes.size());
    return content;
}

std::string line_of(int queue, sysipc::message content) {
    return to_line(read_alert(queue, content));
}

TEST(read_alert, names_the_alerts_of_plugins) {
    using dp::command::alerts;
    EXPECT_EQ(line_of(8, plugin_alert(1, alerts::settings_changed, 2)),
              "queue 8  plugin 1  settings_changed  value 2  (2 settings changed)");
    EXPECT_EQ(line_of(8, plugin_alert(1, alerts::settings_changed, 1)),
              "queue 8  plugin 1  settings_changed  value 1  (1 setting changed)");
    EXPECT_EQ(line_of(8, plugin_alert(1, alerts::settings_changed, 255)),
              "queue 8  plugin 1  settings_changed  value 255  (255 or more settings changed)");
    EXPECT_EQ(line_of(8, plugin_alert(3, alerts::persist_failed, ENOSPC)),
              "queue 8  plugin 3  persist_failed  value 28  (settings could not be saved: " +
                  std::string(std::strerror(ENOSPC)) + ")");
    EXPECT_EQ(line_of(8, plugin_alert(1, alerts::bios_updated, 0)),
              "queue 8  plugin 1  bios_updated  value 0  (the template was replaced)");
    EXPECT_EQ(line_of(8, plugin_alert(1, alerts::server_restarted, 0)),
              "queue 8  plugin 1  server_restarted  value 0  (pending values became current)");
    EXPECT_EQ(line_of(8, plugin_alert(1, dp_service::service_alerts::batch_set_aside, 0)),
              "queue 8  plugin 1  alert 16  value 0  (a batch was not run: nobody waited for its "
              "answer, or it could not be answered)");
}

TEST(read_alert, names_the_alerts_to_the_firmware_manager) {
    using fm::command::alerts;
    EXPECT_EQ(line_of(3, service_alert(0, alerts::bios_updated, 0)),
              "queue 3  service  bios_updated  value 0  (the template was replaced)");
    EXPECT_EQ(line_of(3, service_alert(7, alerts::server_restarted, 9)),
              "queue 3  service 7  server_restarted  value 9  (pending values became current)");
}

TEST(read_alert, shows_unknown_alerts_as_numbers) {
    EXPECT_EQ(line_of(8, plugin_alert(1, static_cast<dp::command::alerts>(77), 5)),
              "queue 8  plugin 1  alert 77  value 5");
    EXPECT_EQ(line_of(3, service_alert(0, static_cast<fm::command::alerts>(65535), 5)),
              "queue 3  service  alert 65535  value 5");
}

TEST(read_alert, shows_the_parameters_of_application_alerts) {
    EXPECT_EQ(line_of(5, plain(9, 11, {4, 200})),
              "queue 5  source 9  kind 11  detail 4  value 200");
    EXPECT_EQ(line_of(5, plain(9, 16, {200})), "queue 5  source 9  kind 16  value 200");
}

TEST(read_alert, shows_other_messages_as_bytes) {
    EXPECT_EQ(line_of(5, plain(9, 700, {0, 0xAB, 0x1B})),
              "queue 5  source 9  kind 700  bytes 00ab1b");
    EXPECT_EQ(line_of(5, plain(9, 11, {1})), "queue 5  source 9  kind 11  bytes 01");
    EXPECT_EQ(line_of(5, plain(0, 2, {1, 0, 3})), "queue 5  source 0  kind 2  bytes 010003");
    EXPECT_EQ(line_of(5, plain(0, 1, {})), "queue 5  source 0  kind 1");
    sysipc::message empty(buffer_size);
    EXPECT_EQ(line_of(5, empty), "queue 5  source 0  kind 0");
}

std::string written(const alert_text& alert) {
    return to_text(to_json(alert), dp_support::json_layout::one_line);
}

TEST(to_json, describes_an_alert_for_a_program) {
    auto content = plugin_alert(1, dp::command::alerts::settings_changed, 2);
    EXPECT_EQ(written(read_alert(8, content)),
              R"({"queue":8,"kind":1,"from":"plugin 1","alert":"settings_changed",)"
              R"("value":2,"meaning":"2 settings changed"})");
    auto detailed = plain(9, 11, {4, 200});
    EXPECT_EQ(written(read_alert(5, detailed)),
              R"({"queue":5,"kind":11,"from":"source 9","alert":"kind 11",)"
              R"("detail":4,"value":200})");
    auto other = plain(9, 700, {7});
    EXPECT_EQ(written(read_alert(5, other)),
              R"({"queue":5,"kind":700,"from":"source 9","alert":"kind 700","bytes":"07"})");
}

}  // namespace
}  // namespace dpctl
