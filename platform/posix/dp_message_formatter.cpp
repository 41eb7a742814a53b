#include <array>
#include <ostream>

#include "platform/dp/message_formatter.hpp"
#include "platform/posix/alert_message.hpp"

namespace dp {
namespace {

// Parameters: the plug-in's id and the value.
constexpr std::size_t parameter_size = 2;

static_assert(message_formatter::payload_offset == dp_platform::alert_head_size);

const unsigned char* parameters_of(const sysipc::message& source) {
    return dp_platform::alert_parameters(source, message_formatter::alert_kind, parameter_size);
}

const char* name_of(command::alerts alert) {
    switch (alert) {
        case command::alerts::settings_changed:
            return "settings_changed";
        case command::alerts::persist_failed:
            return "persist_failed";
        case command::alerts::bios_updated:
            return "bios_updated";
        case command::alerts::server_restarted:
            return "server_restarted";
    }
    return nullptr;
}

}  // namespace

message_formatter::message_formatter(sysipc::message& target) : target_(target) {}

void message_formatter::send_alert_plugins(command::alerts alert, unsigned char id,
                                           unsigned char value) {
    const std::array<unsigned char, parameter_size> parameters{id, value};
    parameter_byte_count_ = dp_platform::write_alert(target_, alert_kind,
                                                     static_cast<std::uint16_t>(alert), parameters);
}

std::size_t message_formatter::parameter_byte_count() const {
    return parameter_byte_count_;
}

bool message_formatter::is_alert() const {
    return parameters_of(target_) != nullptr;
}

command::alerts message_formatter::alert() const {
    return is_alert() ? static_cast<command::alerts>(dp_platform::alert_number(target_))
                      : command::alerts{};
}

unsigned char message_formatter::id() const {
    const unsigned char* const parameters = parameters_of(target_);
    return parameters != nullptr ? parameters[0] : static_cast<unsigned char>(0);
}

unsigned char message_formatter::value() const {
    const unsigned char* const parameters = parameters_of(target_);
    return parameters != nullptr ? parameters[1] : static_cast<unsigned char>(0);
}

std::ostream& operator<<(std::ostream& os, const message_formatter& formatter) {
    if (!formatter.is_alert()) {
        return os << "no alert";
    }
    const command::alerts alert = formatter.alert();
    dp_platform::print_alert(os, name_of(alert), static_cast<std::uint16_t>(alert));
    return os << " plugin=" << static_cast<unsigned>(formatter.id())
              << " value=" << static_cast<unsigned>(formatter.value());
}

}  // namespace dp
