#include "redfish/http/gzip.hpp"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <new>

#include "support/ascii_case.hpp"

namespace dp_redfish {
namespace {

// 15 bits of window; 16 more ask for the gzip format.
constexpr int window_bits = 15 + 16;
constexpr int memory_level = 8;

std::string_view trimmed(std::string_view text) {
    const std::size_t begin = std::min(text.find_first_not_of(" \t"), text.size());
    text.remove_prefix(begin);
    return text.substr(0, text.find_last_not_of(" \t") + 1);
}

// The part of `list` up to the next `separator`, which is removed with it.
std::string_view next_part(std::string_view& list, char separator) {
    const std::size_t length = std::min(list.find(separator), list.size());
    const std::string_view part = list.substr(0, length);
    list.remove_prefix(std::min(length + 1, list.size()));
    return trimmed(part);
}

// Whether a weight, as "q=0.5", excludes what it belongs to.
bool is_zero_weight(std::string_view weight) {
    return weight.size() > 2 && dp_support::lower_case(weight[0]) == 'q' && weight[1] == '=' &&
           weight.substr(2).find_first_not_of("0.") == std::string_view::npos;
}

}  // namespace

struct gzip_encoder::state {
    z_stream stream{};
};

gzip_encoder::gzip_encoder() : state_(std::make_unique<state>()) {
    if (deflateInit2(&state_->stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, window_bits, memory_level,
                     Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::bad_alloc();
    }
}

gzip_encoder::~gzip_encoder() {
    deflateEnd(&state_->stream);
}

void gzip_encoder::append(std::string_view piece) {
    run(piece, Z_NO_FLUSH);
}

std::string gzip_encoder::finish() {
    run({}, Z_FINISH);
    return std::move(out_);
}

void gzip_encoder::run(std::string_view piece, int flush) {
    std::array<unsigned char, 16384> block{};
    z_stream& stream = state_->stream;
    // zlib declares its input as not const and does not write to it.
    stream.next_in = const_cast<Bytef*>(  // NOLINT(cppcoreguidelines-pro-type-const-cast)
        reinterpret_cast<const Bytef*>(piece.data()));
    stream.avail_in = static_cast<uInt>(piece.size());
    do {
        stream.next_out = block.data();
        stream.avail_out = static_cast<uInt>(block.size());
        // Its only failures are mistakes of the caller.
        deflate(&stream, flush);
        out_.append(block.data(), block.data() + (block.size() - stream.avail_out));
    } while (stream.avail_out == 0);
}

bool accepts_gzip(std::string_view accept_encoding) {
    bool any = false;
    while (!accept_encoding.empty()) {
        std::string_view coding = next_part(accept_encoding, ',');
        const std::string name = dp_support::lower_case(next_part(coding, ';'));
        const bool is_accepted = !is_zero_weight(trimmed(coding));
        if (name == "gzip" || name == "x-gzip") {
            return is_accepted;
        }
        any = any || (name == "*" && is_accepted);
    }
    return any;
}

}  // namespace dp_redfish
