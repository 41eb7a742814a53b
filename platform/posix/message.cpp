#include "platform/sysipc/message.hpp"

#include <algorithm>

#include "platform/posix/little_endian.hpp"

namespace sysipc {
namespace {

using dp_platform::load_16;
using dp_platform::store_16;

constexpr std::size_t source_offset = 0;
constexpr std::size_t queue_offset = 1;
constexpr std::size_t length_offset = 2;
constexpr std::size_t smallest = message::header_size + message::kind_size;
constexpr std::size_t biggest = 65535;

}  // namespace

message::message(std::size_t buffer_size) : buffer_(std::clamp(buffer_size, smallest, biggest)) {}

unsigned char message::source() const {
    return buffer_[source_offset];
}

void message::set_source(unsigned char source) {
    buffer_[source_offset] = source;
}

unsigned char message::queue() const {
    return buffer_[queue_offset];
}

void message::set_queue(unsigned char queue) {
    buffer_[queue_offset] = queue;
}

std::uint16_t message::kind() const {
    return load_16(payload());
}

void message::set_kind(std::uint16_t kind) {
    store_16(payload(), kind);
}

std::size_t message::payload_length() const {
    return load_16(buffer_.data() + length_offset);
}

void message::set_payload_length(std::size_t length) {
    store_16(buffer_.data() + length_offset,
             static_cast<std::uint16_t>(std::min(length, payload_capacity())));
}

std::size_t message::payload_capacity() const {
    return buffer_.size() - header_size;
}

unsigned char* message::payload() {
    return buffer_.data() + header_size;
}

const unsigned char* message::payload() const {
    return buffer_.data() + header_size;
}

const unsigned char* message::data() const {
    return buffer_.data();
}

std::size_t message::size() const {
    return header_size + payload_length();
}

bool message::assign(const unsigned char* data, std::size_t size) {
    std::fill(buffer_.begin(), buffer_.end(), static_cast<unsigned char>(0));
    if (size < smallest || size > buffer_.size() ||
        load_16(data + length_offset) + header_size != size) {
        return false;
    }
    std::copy_n(data, size, buffer_.begin());
    return true;
}

}  // namespace sysipc
