#include "platform/posix/alert_message.hpp"

#include <ostream>

#include "platform/posix/little_endian.hpp"
#include "platform/sysipc/message.hpp"
#include "platform/sysipc/parameter_list.hpp"

namespace dp_platform {
namespace {

constexpr std::size_t alert_offset = sysipc::message::kind_size;

}  // namespace

std::size_t write_alert(sysipc::message& target, std::uint16_t kind, std::uint16_t alert,
                        std::span<const unsigned char> parameters) {
    target.set_kind(kind);
    if (target.payload_capacity() >= alert_head_size) {
        store_16(target.payload() + alert_offset, alert);
    }
    sysipc::parameter_list list(target, alert_head_size);
    list.add_byte_array(parameters.data(), parameters.size());
    return list.byte_count();
}

const unsigned char* alert_parameters(const sysipc::message& source, std::uint16_t kind,
                                      std::size_t size) {
    const bool is_alert =
        source.payload_length() >= alert_head_size + size && source.kind() == kind;
    return is_alert ? source.payload() + alert_head_size : nullptr;
}

std::uint16_t alert_number(const sysipc::message& source) {
    return load_16(source.payload() + alert_offset);
}

void print_alert(std::ostream& os, const char* name, std::uint16_t alert) {
    if (name != nullptr) {
        os << name;
    } else {
        os << alert;
    }
}

}  // namespace dp_platform
