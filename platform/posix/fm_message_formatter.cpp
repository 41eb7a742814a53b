#include <array>
#include <ostream>

#include "platform/fm/message_formatter.hpp"
#include "platform/posix/alert_layout.hpp"
#include "platform/posix/little_endian.hpp"

namespace fm {
namespace {

// Parameters: 4 bytes identifier, then the value and two further bytes.
constexpr std::size_t value_offset = 4;
constexpr std::size_t parameter_size = value_offset + 3;

constexpr dp_platform::alert_layout layout(message_formatter::alert_kind, parameter_size);
static_assert(message_formatter::payload_offset == dp_platform::alert_layout::parameter_offset);

const char* name_of(command::alerts alert) {
    switch (alert) {
        case command::alerts::bios_updated:
            return "bios_updated";
        case command::alerts::server_restarted:
            return "server_restarted";
    }
    return nullptr;
}

}  // namespace

message_formatter::message_formatter(sysipc::message& target) : target_(target) {}

void message_formatter::send_alert(std::uint32_t id, command::alerts alert, unsigned char value,
                                   unsigned char b1, unsigned char b2) {
    std::array<unsigned char, parameter_size> parameters{0, 0, 0, 0, value, b1, b2};
    dp_platform::store_32(parameters.data(), id);
    parameter_byte_count_ = layout.write(target_, static_cast<std::uint16_t>(alert), parameters);
}

std::size_t message_formatter::parameter_byte_count() const {
    return parameter_byte_count_;
}

bool message_formatter::is_alert() const {
    return layout.parameters(target_) != nullptr;
}

std::uint32_t message_formatter::id() const {
    const unsigned char* const parameters = layout.parameters(target_);
    return parameters != nullptr ? dp_platform::load_32(parameters) : 0;
}

command::alerts message_formatter::alert() const {
    return static_cast<command::alerts>(layout.alert(target_));
}

unsigned char message_formatter::value() const {
    return layout.byte(target_, value_offset);
}

std::ostream& operator<<(std::ostream& os, const message_formatter& formatter) {
    if (dp_platform::print_alert(os, formatter, name_of)) {
        os << " value=" << static_cast<unsigned>(formatter.value());
    }
    return os;
}

}  // namespace fm
