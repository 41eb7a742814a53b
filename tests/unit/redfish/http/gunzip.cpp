#include "tests/unit/redfish/http/gunzip.hpp"

#include <zlib.h>

#include <array>

namespace test {

std::string gunzip(const std::string& compressed) {
    z_stream stream{};
    if (inflateInit2(&stream, 15 + 16) != Z_OK) {
        return "(not gzip)";
    }
    std::string input = compressed;
    stream.next_in = reinterpret_cast<Bytef*>(input.data());
    stream.avail_in = static_cast<uInt>(input.size());
    std::string text;
    std::array<unsigned char, 65536> block{};
    int outcome = Z_OK;
    while (outcome == Z_OK) {
        stream.next_out = block.data();
        stream.avail_out = static_cast<uInt>(block.size());
        outcome = inflate(&stream, Z_NO_FLUSH);
        text.append(block.data(), block.data() + (block.size() - stream.avail_out));
    }
    const bool is_whole = outcome == Z_STREAM_END && stream.avail_in == 0;
    inflateEnd(&stream);
    return is_whole ? text : "(not gzip)";
}

}  // namespace test
