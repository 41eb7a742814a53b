#ifndef DP_PLATFORM_SYSIPC_EFI_DECOMPRESSOR_HPP
#define DP_PLATFORM_SYSIPC_EFI_DECOMPRESSOR_HPP

#include <iosfwd>
#include <vector>

#include "common/export.hpp"

namespace sysipc {

struct DP_API efi_decompressor {
    /// Reads `in` from its position to its end and expands it. Returns an empty vector when the
    /// data is not a compressed image, and when it is one but truncated or corrupt. The stream's
    /// state and position are not defined afterwards.
    static std::vector<unsigned char> decompress(std::istream& in);
};

}  // namespace sysipc

#endif
