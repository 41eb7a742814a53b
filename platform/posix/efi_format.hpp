#ifndef DP_PLATFORM_POSIX_EFI_FORMAT_HPP
#define DP_PLATFORM_POSIX_EFI_FORMAT_HPP

#include <cstddef>
#include <cstdint>

/// Constants of the standard compression of the UEFI specification.
///
/// An image is a header of two little-endian 32-bit numbers, the compressed and the original size,
/// and a stream of bits, the most significant bit of each byte first. The stream is a sequence of
/// blocks. A block is a 16-bit count of symbols, three sets of prefix code lengths and the coded
/// symbols. The first set codes the lengths of the second, the second is for bytes and match
/// lengths, the third for match positions. Codes are canonical: shorter codes first, codes of equal
/// length in the order of their symbols.
namespace dp_platform::efi {

inline constexpr std::size_t header_size = 8;

inline constexpr unsigned max_code_length = 16;
inline constexpr unsigned min_match = 3;
inline constexpr unsigned max_match = 256;
inline constexpr unsigned window_size = 8192;
inline constexpr unsigned max_block_symbols = 65536;  ///< written as 0

/// Bytes, then the match lengths from `min_match` to `max_match`.
inline constexpr unsigned literal_count = 256;
inline constexpr unsigned symbol_count = literal_count + max_match - min_match + 1;
/// A position's code is the number of bits of (distance - 1); the bits below the top one follow.
inline constexpr unsigned position_count = 14;
/// The code lengths of the symbols are themselves coded: three codes for runs of zeros, then the
/// lengths 1 to 16. The length of the third code is followed by a 2-bit count of zero lengths.
inline constexpr unsigned length_code_count = max_code_length + 3;
inline constexpr unsigned length_code_gap = 3;
inline constexpr unsigned length_code_gap_bits = 2;

/// Runs of zeros: one, 3 to 18, 20 to 531.
inline constexpr unsigned short_run_base = 3;
inline constexpr unsigned short_run_bits = 4;
inline constexpr unsigned long_run_base = 20;
inline constexpr unsigned long_run_bits = 9;

/// Widths in bits of the fields before the code lengths: the number of lengths that follow and,
/// when that is 0, the only symbol of the set.
inline constexpr unsigned block_size_bits = 16;
inline constexpr unsigned length_code_field_bits = 5;
inline constexpr unsigned symbol_field_bits = 9;
inline constexpr unsigned position_field_bits = 4;

/// Limits of this implementation: images of less than 128 MiB that expand to at most 256 MiB. The
/// first limit also distinguishes images from text, whose fourth byte is never below 8.
inline constexpr std::uint32_t compressed_limit = 0x0800'0000;
inline constexpr std::uint32_t original_limit = 0x1000'0000;

}  // namespace dp_platform::efi

#endif
