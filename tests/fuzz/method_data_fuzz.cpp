// Arbitrary bytes as a framed record, and as a name and a payload that are framed and unpacked.

#include <string>
#include <vector>

#include "bios/method_data.hpp"
#include "tests/fuzz/fuzzing.hpp"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<unsigned char> bytes(data, data + size);
    const dp::ZEB_MethodData any(bytes);
    fuzzing::require(any.buffer == bytes, "the buffer is a copy of the input");
    fuzzing::require(any.method.size() + any.data.size() <= size,
                     "the name and the payload are no longer than the buffer");
    if (any.valid != 0) {
        fuzzing::require(16 + any.method.size() + any.data.size() + 4 <= size,
                         "a valid record includes its header and trailer");
    }

    const std::size_t name_length = size == 0 ? 0 : data[0] % size;
    const std::string name(data, data + name_length);
    const std::vector<unsigned char> payload(data + name_length, data + size);
    const dp::ZEB_MethodData built(name, payload);
    const dp::ZEB_MethodData parsed(built.buffer);
    fuzzing::require(parsed.valid == 1 && parsed.method == name && parsed.data == payload,
                     "the name and the payload survive a round trip");
    fuzzing::require(built.buffer.size() % 16 == 0,
                     "the record is padded to a multiple of 16 bytes");
    return 0;
}
