#ifndef DP_COMMON_BYTE_SCAN_HPP
#define DP_COMMON_BYTE_SCAN_HPP

#include <bit>
#include <cstddef>
#include <cstring>

namespace dp::byte_scan {

/// Looking at several bytes at a time, without instructions that only some machines have. What
/// scans this way reads up to `sizeof(chunk)` bytes from its position on, so its text has that many
/// readable bytes behind its last one.

/// As many bytes as the machine takes at a time.
using chunk = std::size_t;

/// The other way round the functions below would find the last of several bytes.
constexpr bool works_here = std::endian::native == std::endian::little;

inline chunk load(const char* at) {
    chunk bytes = 0;
    std::memcpy(&bytes, at, sizeof bytes);
    return bytes;
}

/// A chunk that holds `byte` in every place.
constexpr chunk filled(char byte) {
    return ~chunk{0} / 0xFFU * static_cast<unsigned char>(byte);
}

/// Sets the highest bit of every byte below `bound`, which is at most 0x80, and of no byte in front
/// of the first of them. It may set it in further bytes behind that one, into which the subtraction
/// borrowed.
constexpr chunk below(chunk bytes, unsigned char bound) {
    return (bytes - filled(static_cast<char>(bound))) & ~bytes & filled('\x80');
}

/// The same for every byte that equals `byte`.
constexpr chunk equal(chunk bytes, char byte) {
    return below(bytes ^ filled(byte), 1);
}

/// The place of the first byte whose highest bit is set; there must be one.
constexpr int first_of(chunk high_bits) {
    return std::countr_zero(high_bits) / 8;
}

}  // namespace dp::byte_scan

#endif
