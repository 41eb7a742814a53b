#include "logs/alerts.hpp"

#include <cstddef>
#include <cstdint>
#include <string>

#include "common/log.hpp"
#include "platform/dp/message_formatter.hpp"
#include "platform/fm/message_formatter.hpp"
#include "platform/sysipc/message.hpp"
#include "platform/sysipc/parameter_list.hpp"
#include "platform/sysipc/system_message_queue.hpp"
#include "platform/sysipc/system_message_queue_client.hpp"
#include "settings/plugin.hpp"

namespace dp {
namespace {

constexpr std::size_t message_buffer_size = 8096;

bool send(unsigned char queue_number, const sysipc::message& content) {
    const sysipc::system_message_queue queue(queue_number, 0);
    return sysipc::system_message_queue_client::send(queue, content);
}

}  // namespace

void plugin::send_alert(command::alerts alert, unsigned char value) const {
    sysipc::message content(message_buffer_size);
    message_formatter formatter(content);
    formatter.send_alert_plugins(alert, source, value);
    content.set_payload_length(formatter.parameter_byte_count() +
                               message_formatter::payload_offset);
    if (!send(command::alert_queue, content)) {
        log_error_line("FAILED to send alert ", formatter);
    }
}

void send_fm_alert(fm::command::alerts alert, unsigned char value) {
    sysipc::message content(message_buffer_size);
    fm::message_formatter formatter(content);
    formatter.send_alert(0, alert, value, 0, 0);
    content.set_payload_length(formatter.parameter_byte_count() +
                               fm::message_formatter::payload_offset);
    send(fm::command::alert_queue, content);
}

int send_application_alert(unsigned char source, unsigned char queue, unsigned char detail,
                           int kind, int value) {
    if (kind != application_alert::detailed_kind && kind != application_alert::plain_kind) {
        return 1;
    }
    sysipc::message content(message_buffer_size);
    content.set_source(source);
    content.set_queue(queue);
    content.set_kind(static_cast<std::uint16_t>(kind));
    sysipc::parameter_list parameters(content, sysipc::message::kind_size);
    if (kind == application_alert::detailed_kind) {
        parameters.add_byte_array(&detail, 1);
    }
    const auto low_byte = static_cast<unsigned char>(static_cast<unsigned>(value) & 0xFFU);
    parameters.add_byte_array(&low_byte, 1);
    content.set_payload_length(parameters.byte_count() + sysipc::message::kind_size);
    return send(queue, content) ? 0 : 1;
}

std::string plugin::create_service_command(const std::string& command) {
    std::string line = command;
    if (const auto* log = sysipc::application_log::app_streams; log != nullptr) {
        // A service started from here logs where and what this process does.
        const std::int32_t file = log->file();
        const std::uint32_t level = log->level();
        const std::uint32_t mask = log->mask();
        if (mask != 0 && level != 8 && file > 0) {
            line += " -f " + std::to_string(file) + " -l " + std::to_string(level) + " -m " +
                    std::to_string(mask);
        }
    }
    log_line(log_level::trace_4, "LOG", "Service Command: ", line);
    return line;
}

}  // namespace dp
