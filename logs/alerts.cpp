#include "logs/alerts.hpp"

#include <cstdint>

#include "common/send_message.hpp"
#include "platform/fm/message_formatter.hpp"
#include "platform/sysipc/parameter_list.hpp"

namespace dp {

void send_fm_alert(fm::command::alerts alert, unsigned char value) {
    sysipc::message content(message_buffer_size);
    fm::message_formatter formatter(content);
    formatter.send_alert(0, alert, value, 0, 0);
    content.set_payload_length(formatter.parameter_byte_count() +
                               fm::message_formatter::payload_offset);
    send_message(fm::command::alert_queue, content);
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
    return send_message(queue, content) ? 0 : 1;
}

}  // namespace dp
