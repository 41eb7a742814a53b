#include "platform/posix/alert_layout.hpp"

#include "platform/posix/little_endian.hpp"
#include "platform/sysipc/message.hpp"
#include "platform/sysipc/parameter_list.hpp"

namespace dp_platform {
namespace {

constexpr std::size_t alert_offset = sysipc::message::kind_size;

}  // namespace

std::size_t alert_layout::write(sysipc::message& target, std::uint16_t alert,
                                std::span<const unsigned char> parameters) const {
    target.set_kind(kind_);
    if (target.payload_capacity() >= parameter_offset) {
        store_16(target.payload() + alert_offset, alert);
    }
    sysipc::parameter_list list(target, parameter_offset);
    list.add_byte_array(parameters.data(), parameters.size());
    return list.byte_count();
}

const unsigned char* alert_layout::parameters(const sysipc::message& source) const {
    const bool is_alert =
        source.payload_length() >= parameter_offset + parameter_size_ && source.kind() == kind_;
    return is_alert ? source.payload() + parameter_offset : nullptr;
}

std::uint16_t alert_layout::alert(const sysipc::message& source) const {
    return parameters(source) != nullptr ? load_16(source.payload() + alert_offset)
                                         : static_cast<std::uint16_t>(0);
}

unsigned char alert_layout::byte(const sysipc::message& source, std::size_t offset) const {
    const unsigned char* const bytes = parameters(source);
    return bytes != nullptr ? bytes[offset] : static_cast<unsigned char>(0);
}

}  // namespace dp_platform
