#include "bios/method_data.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <string_view>
#include <utility>

namespace dp {
namespace {

constexpr std::array<unsigned char, 4> magic{0xDE, 0xAD, 0xC0, 0xDE};
constexpr std::size_t header_size = 16;
constexpr std::size_t alignment = 16;
constexpr std::string_view padding_text = "paddingPADDINGp";

void put_big_endian(std::size_t value, std::size_t bytes, std::vector<unsigned char>& out) {
    for (std::size_t i = bytes; i > 0; --i) {
        out.push_back(static_cast<unsigned char>(value >> (8 * (i - 1))));
    }
}

std::size_t get_big_endian_32(const std::vector<unsigned char>& in, std::size_t offset) {
    std::uint32_t value = 0;
    for (std::size_t i = offset; i < offset + 4; ++i) {
        value = value << 8 | in[i];
    }
    return value;
}

}  // namespace

ZEB_MethodData::ZEB_MethodData(std::string method_name, std::vector<unsigned char> payload)
    : method(std::move(method_name)), data(std::move(payload)) {
    if (data.size() != static_cast<std::uint32_t>(data.size())) {
        return;
    }
    const std::size_t name_length = method.size() & 0xFF;
    const std::size_t unpadded = header_size + name_length + data.size() + magic.size();
    const std::size_t padding_length = (alignment - unpadded % alignment) % alignment;
    padding.assign(padding_text.begin(),
                   padding_text.begin() + static_cast<std::ptrdiff_t>(padding_length));

    buffer.reserve(unpadded + padding_length);
    buffer.insert(buffer.end(), magic.begin(), magic.end());
    put_big_endian(0, 2, buffer);
    put_big_endian(header_size + name_length, 2, buffer);
    put_big_endian(data.size(), 4, buffer);
    put_big_endian(0, 3, buffer);
    put_big_endian(name_length, 1, buffer);
    buffer.insert(buffer.end(), method.begin(),
                  method.begin() + static_cast<std::ptrdiff_t>(name_length));
    buffer.insert(buffer.end(), data.begin(), data.end());
    buffer.insert(buffer.end(), padding.begin(), padding.end());
    buffer.insert(buffer.end(), magic.begin(), magic.end());
    valid = 1;
}

ZEB_MethodData::ZEB_MethodData(std::vector<unsigned char> record) : buffer(std::move(record)) {
    const std::size_t size = buffer.size();
    if (size < header_size + magic.size()) {
        return;
    }
    if (!std::equal(magic.begin(), magic.end(), buffer.begin()) ||
        !std::equal(magic.rbegin(), magic.rend(), buffer.rbegin()) || buffer[4] != 0) {
        return;
    }
    const std::size_t name_length = buffer[15];
    if (size < header_size + name_length) {
        return;
    }
    const auto name = buffer.begin() + static_cast<std::ptrdiff_t>(header_size);
    const auto payload = name + static_cast<std::ptrdiff_t>(name_length);
    method.assign(name, payload);
    // Compare with the rest of the buffer, so that no sum of hostile lengths overflows.
    const std::size_t left = size - header_size - name_length;
    const std::size_t length = get_big_endian_32(buffer, 8);
    if (length > left) {
        return;
    }
    data.assign(payload, payload + static_cast<std::ptrdiff_t>(length));
    if (left - length >= magic.size()) {
        valid = 1;
    }
}

}  // namespace dp
