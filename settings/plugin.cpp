#include "settings/plugin.hpp"

#include <ostream>
#include <utility>

#include "common/log.hpp"
#include "common/send_message.hpp"
#include "platform/dp/message_formatter.hpp"
#include "transactions/transaction.hpp"

namespace dp {
namespace {

// The level at which the application log writes no lines.
constexpr std::uint32_t silent_level = 8;

}  // namespace

plugin::plugin(std::string plugin_name, types plugin_type, std::uint8_t alert_source)
    : name(std::move(plugin_name)), type(plugin_type), source(alert_source) {}

void plugin::process_transaction(registrar& reg, transaction* trans) {
    trans->substep_complete(reg, this);
}

void plugin::on_event(registrar& /*reg*/, const message_event& /*event*/) {}

void plugin::on_event(registrar& /*reg*/, const file_event& /*event*/) {}

void plugin::on_add_configuration(registrar& /*reg*/, configuration* /*config*/) {}

void plugin::on_unregister_configuration(registrar& /*reg*/, configuration* /*config*/) {}

void plugin::on_remove_configuration(registrar& /*reg*/, configuration* /*config*/) {}

void plugin::send_alert(command::alerts alert, unsigned char value) const {
    sysipc::message content(message_buffer_size);
    message_formatter formatter(content);
    formatter.send_alert_plugins(alert, source, value);
    content.set_payload_length(formatter.parameter_byte_count() +
                               message_formatter::payload_offset);
    if (!send_message(command::alert_queue, content)) {
        log_error_line("FAILED to send alert ", formatter);
    }
}

std::string plugin::create_service_command(const std::string& command) {
    std::string line = command;
    if (const auto* log = sysipc::application_log::app_streams; log != nullptr) {
        const std::int32_t file = log->file();
        const std::uint32_t level = log->level();
        const std::uint32_t mask = log->mask();
        if (mask != 0 && level != silent_level && file > 0) {
            line += " -f " + std::to_string(file) + " -l " + std::to_string(level) + " -m " +
                    std::to_string(mask);
        }
    }
    log_line(log_level::trace_4, "LOG", "Service Command: ", line);
    return line;
}

const char* plugin::map(types type) {
    switch (type) {
        case template_owner:
            return "template_owner";
        case settings_owner:
            return "settings_owner";
        case client:
            return "client";
        default:
            return "unknown";
    }
}

std::ostream& operator<<(std::ostream& os, const plugin& p) {
    return os << p.name << ", type= " << plugin::map(p.type);
}

}  // namespace dp
