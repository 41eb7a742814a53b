// Any bytes as a framed record, and as a name and a payload that go there and back.

#include <string>
#include <vector>

#include "bios/method_data.hpp"
#include "tests/fuzz/fuzzing.hpp"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<unsigned char> bytes(data, data + size);
    const dp::ZEB_MethodData any(bytes);
    fuzzing::require(any.buffer == bytes, "the buffer is kept");
    fuzzing::require(any.method.size() + any.data.size() <= size, "no more than the buffer holds");
    if (any.valid != 0) {
        fuzzing::require(16 + any.method.size() + any.data.size() + 4 <= size,
                         "a valid record has room for its frame");
    }

    const std::size_t name_length = size == 0 ? 0 : data[0] % size;
    const std::string name(data, data + name_length);
    const std::vector<unsigned char> payload(data + name_length, data + size);
    const dp::ZEB_MethodData built(name, payload);
    const dp::ZEB_MethodData parsed(built.buffer);
    fuzzing::require(parsed.valid == 1 && parsed.method == name && parsed.data == payload,
                     "name and payload come back");
    fuzzing::require(built.buffer.size() % 16 == 0, "the record is padded");
    return 0;
}
