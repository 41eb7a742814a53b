#ifndef DP_PLATFORM_SYSIPC_EFI_DECOMPRESSOR_HPP
#define DP_PLATFORM_SYSIPC_EFI_DECOMPRESSOR_HPP

#include <iosfwd>
#include <vector>

#include "common/export.hpp"

namespace sysipc {

struct DP_API efi_decompressor {
    /// Reads the image at the position of `in` and expands it. Returns an empty vector when the
    /// data is not a compressed image, and, with one "ERR" line in the application log, when it is
    /// one but truncated, corrupt or too big. Does not throw. The stream's state and position are
    /// not defined afterwards.
    static std::vector<unsigned char> decompress(std::istream& in);
};

}  // namespace sysipc

#endif
