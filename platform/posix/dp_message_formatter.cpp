#include <array>
#include <ostream>

#include "platform/dp/message_formatter.hpp"
#include "platform/posix/alert_layout.hpp"

namespace dp {
namespace {

// Parameters: the plug-in's id and the value.
constexpr std::size_t id_offset = 0;
constexpr std::size_t value_offset = 1;
constexpr std::size_t parameter_size = 2;

constexpr dp_platform::alert_layout layout(message_formatter::alert_kind, parameter_size);
static_assert(message_formatter::payload_offset == dp_platform::alert_layout::parameter_offset);

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
    parameter_byte_count_ = layout.write(target_, static_cast<std::uint16_t>(alert), parameters);
}

std::size_t message_formatter::parameter_byte_count() const {
    return parameter_byte_count_;
}

bool message_formatter::is_alert() const {
    return layout.parameters(target_) != nullptr;
}

command::alerts message_formatter::alert() const {
    return static_cast<command::alerts>(layout.alert(target_));
}

unsigned char message_formatter::id() const {
    return layout.byte(target_, id_offset);
}

unsigned char message_formatter::value() const {
    return layout.byte(target_, value_offset);
}

std::ostream& operator<<(std::ostream& os, const message_formatter& formatter) {
    if (dp_platform::print_alert(os, formatter, name_of)) {
        os << " plugin=" << static_cast<unsigned>(formatter.id())
           << " value=" << static_cast<unsigned>(formatter.value());
    }
    return os;
}

}  // namespace dp
