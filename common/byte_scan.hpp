#ifndef DP_COMMON_BYTE_SCAN_HPP
#define DP_COMMON_BYTE_SCAN_HPP

#include <bit>
#include <cstddef>
#include <cstring>

/// Portable SWAR scan: compares several bytes at a time in one integer. A scan reads up to
/// `sizeof(chunk)` bytes from its position on, so that many bytes after the end of its text must be
/// readable.
namespace dp::byte_scan {

/// As many bytes as one register holds.
using chunk = std::size_t;

/// Whether `first_of` finds the first byte; with the other byte order it would find the last.
constexpr bool is_supported = std::endian::native == std::endian::little;

inline chunk load(const char* at) {
    chunk bytes = 0;
    std::memcpy(&bytes, at, sizeof bytes);
    return bytes;
}

/// A chunk whose bytes all equal `byte`.
constexpr chunk filled(char byte) {
    return ~chunk{0} / 0xFFU * static_cast<unsigned char>(byte);
}

/// Marks every byte below `bound`, which is at most 0x80, by its highest bit. Never marks a byte
/// before the first of them, but may mark further bytes after it, where the subtraction borrowed.
constexpr chunk below(chunk bytes, unsigned char bound) {
    return (bytes - filled(static_cast<char>(bound))) & ~bytes & filled('\x80');
}

/// Marks every byte that equals `byte`, with the same limits as `below`.
constexpr chunk equal(chunk bytes, char byte) {
    return below(bytes ^ filled(byte), 1);
}

/// The index of the first marked byte; there must be one.
constexpr int first_of(chunk marks) {
    return std::countr_zero(marks) / 8;
}

}  // namespace dp::byte_scan

#endif
