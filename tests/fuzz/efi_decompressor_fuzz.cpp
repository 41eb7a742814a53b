// Arbitrary bytes as a file, as the bit stream after a valid header, and as a text that is
// compressed and decompressed.

#include <sstream>
#include <string>

#include "platform/posix/efi_compressor.hpp"
#include "platform/posix/efi_format.hpp"
#include "platform/sysipc/efi_decompressor.hpp"
#include "tests/fuzz/fuzzing.hpp"

namespace {

std::string decompress(const std::string& file) {
    std::istringstream in(file);
    const auto text = sysipc::efi_decompressor::decompress(in);
    return {text.begin(), text.end()};
}

void put_number(std::string& image, std::size_t at, std::size_t number) {
    for (unsigned i = 0; i < 4; ++i) {
        image[at + i] = static_cast<char>(number >> (8 * i) & 0xFFU);
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using dp_platform::efi::header_size;
    const std::string bytes(data, data + size);
    decompress(bytes);
    if (size >= 2) {
        const std::size_t original_size = data[0] | static_cast<std::size_t>(data[1]) << 8U;
        std::string image(header_size, '\0');
        put_number(image, 0, size - 2);
        put_number(image, 4, original_size);
        image += bytes.substr(2);
        const std::string text = decompress(image);
        fuzzing::require(text.empty() || text.size() == original_size,
                         "a text has the size stated in the header");
    }
    fuzzing::require(decompress(dp_platform::efi_compress(bytes)) == bytes,
                     "a text survives compression and decompression");
    return 0;
}
