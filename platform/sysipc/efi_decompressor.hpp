#ifndef DP_PLATFORM_SYSIPC_EFI_DECOMPRESSOR_HPP
#define DP_PLATFORM_SYSIPC_EFI_DECOMPRESSOR_HPP

#include <iosfwd>
#include <vector>

#include "common/export.hpp"

namespace sysipc {

/// The board's compression of batch, settings and template files.
struct DP_API efi_decompressor {
    /// Expands the compressed image at the position of `in`. Returns an empty vector when the data
    /// is not an image. Does the same, with one "ERR" line in the application log, when the image
    /// is truncated, corrupt or too big. Does not throw. The stream's state and position are
    /// undefined afterwards.
    static std::vector<unsigned char> decompress(std::istream& in);
};

}  // namespace sysipc

#endif
