#ifndef DP_BIOS_METHOD_DATA_HPP
#define DP_BIOS_METHOD_DATA_HPP

#include <cstdint>
#include <string>
#include <vector>

#include "common/export.hpp"

namespace dp {

/// A method name and an opaque payload in one framed byte buffer, which carries the data of a
/// method call between controller components:
///
///     offset    size  content (numbers big-endian)
///          0       4  DE AD C0 DE
///          4       2  0; a buffer whose byte 4 is not 0 is not unpacked
///          6       2  offset of the payload, 16 + N
///          8       4  length L of the payload
///         12       3  0
///         15       1  N, the low 8 bits of the name's length
///         16       N  the first N bytes of the name
///       16+N       L  payload
///     16+N+L       P  padding to a total size that is a multiple of 16
///         ...      4  DE AD C0 DE
///
/// Plain data: copies are independent.
class DP_API ZEB_MethodData {
  public:
    /// An empty frame that is not valid.
    ZEB_MethodData() = default;

    /// Frames a name and a payload. A name of 256 bytes or more is cut to its first N bytes in
    /// `buffer`. A payload of 4 GiB or more cannot be framed: `valid` is 0 and `buffer` empty.
    ZEB_MethodData(std::string method_name, std::vector<unsigned char> payload);

    /// Unpacks a framed buffer of any content. Fields that are not reached are empty. A payload
    /// that overlaps the trailer is unpacked, but `valid` is 0. `padding` is not unpacked.
    explicit ZEB_MethodData(std::vector<unsigned char> record);

    std::int32_t valid = 0;              ///< 1 when the buffer was framed or completely unpacked
    std::string method;                  ///< the name
    std::vector<unsigned char> data;     ///< the payload
    std::vector<unsigned char> padding;  ///< the padding added when framing
    std::vector<unsigned char> buffer;   ///< the whole frame
};

}  // namespace dp

#endif
