#include <ostream>

#include "platform/dp/message_formatter.hpp"
#include "platform/posix/little_endian.hpp"
#include "platform/sysipc/message.hpp"
#include "platform/sysipc/parameter_list.hpp"

namespace dp {
namespace {

using dp_platform::load_16;
using dp_platform::store_16;

constexpr std::size_t alert_offset = sysipc::message::kind_size;
constexpr std::size_t id_offset = message_formatter::payload_offset;
constexpr std::size_t value_offset = id_offset + 1;
constexpr std::size_t alert_length = value_offset + 1;

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
    target_.set_kind(alert_kind);
    if (target_.payload_capacity() >= payload_offset) {
        store_16(target_.payload() + alert_offset, static_cast<std::uint16_t>(alert));
    }
    sysipc::parameter_list parameters(target_, payload_offset);
    parameters.add_byte_array(&id, 1);
    parameters.add_byte_array(&value, 1);
    parameter_byte_count_ = parameters.byte_count();
}

std::size_t message_formatter::parameter_byte_count() const {
    return parameter_byte_count_;
}

bool message_formatter::is_alert() const {
    return target_.payload_length() >= alert_length && target_.kind() == alert_kind;
}

command::alerts message_formatter::alert() const {
    return is_alert() ? static_cast<command::alerts>(load_16(target_.payload() + alert_offset))
                      : command::alerts{};
}

unsigned char message_formatter::id() const {
    return is_alert() ? target_.payload()[id_offset] : static_cast<unsigned char>(0);
}

unsigned char message_formatter::value() const {
    return is_alert() ? target_.payload()[value_offset] : static_cast<unsigned char>(0);
}

std::ostream& operator<<(std::ostream& os, const message_formatter& formatter) {
    if (!formatter.is_alert()) {
        return os << "no alert";
    }
    if (const char* name = name_of(formatter.alert()); name != nullptr) {
        os << name;
    } else {
        os << static_cast<unsigned>(formatter.alert());
    }
    return os << " plugin=" << static_cast<unsigned>(formatter.id())
              << " value=" << static_cast<unsigned>(formatter.value());
}

}  // namespace dp
