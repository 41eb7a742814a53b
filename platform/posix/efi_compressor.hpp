#ifndef DP_PLATFORM_POSIX_EFI_COMPRESSOR_HPP
#define DP_PLATFORM_POSIX_EFI_COMPRESSOR_HPP

#include <string>
#include <string_view>

namespace dp_platform {

/// Compresses `plain` into an EFI image: the 8-byte header and the bit stream. Takes time
/// proportional to the text, and memory for the image and a fixed work area. Returns an empty text
/// when the decompressor would refuse the image: `plain` is longer than 256 MiB, or the image is
/// not shorter than 128 MiB.
std::string efi_compress(std::string_view plain);

}  // namespace dp_platform

#endif
