#include "platform/sysipc/parameter_list.hpp"

#include <algorithm>

#include "platform/sysipc/message.hpp"

namespace sysipc {

parameter_list::parameter_list(message& target, std::size_t payload_offset)
    : target_(target), offset_(std::min(payload_offset, target.payload_capacity())) {}

bool parameter_list::add_byte_array(const unsigned char* data, std::size_t size) {
    const std::size_t used = offset_ + byte_count_;
    if (size > target_.payload_capacity() - used) {
        return false;
    }
    std::copy_n(data, size, target_.payload() + used);
    byte_count_ += size;
    return true;
}

std::size_t parameter_list::byte_count() const {
    return byte_count_;
}

}  // namespace sysipc
