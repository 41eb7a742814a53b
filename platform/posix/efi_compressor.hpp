#ifndef DP_PLATFORM_POSIX_EFI_COMPRESSOR_HPP
#define DP_PLATFORM_POSIX_EFI_COMPRESSOR_HPP

#include <string>
#include <string_view>

namespace dp_platform {

/// Compresses `plain` into an EFI image: the 8-byte header and the bit stream. At most 4 GiB - 1.
std::string efi_compress(std::string_view plain);

}  // namespace dp_platform

#endif
