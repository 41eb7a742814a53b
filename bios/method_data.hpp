#ifndef DP_BIOS_METHOD_DATA_HPP
#define DP_BIOS_METHOD_DATA_HPP

#include <cstdint>
#include <string>
#include <vector>

#include "common/export.hpp"

namespace dp {

/// A method name and an opaque payload, framed in one byte record in which a method call's data
/// travels between controller components:
///
/// offset    size  content (numbers big-endian)
///      0       4  DE AD C0 DE
///      4       2  0, of which byte 4 must be 0 to be unpacked
///      6       2  offset of the payload, 16 + N
///      8       4  length L of the payload
///     12       3  0
///     15       1  N, the low 8 bits of the name's length
///     16       N  the first N bytes of the name
///   16+N       L  payload
/// 16+N+L       P  padding to a multiple of 16 bytes altogether
///     ...      4  DE AD C0 DE
///
/// Plain data: copies are independent.
class DP_API ZEB_MethodData {
  public:
    /// An empty record that is not valid.
    ZEB_MethodData() = default;

    /// Frames a name and a payload. Names of 256 bytes and more lose all but their first N bytes in
    /// `buffer`; a payload of 4 GiB or more can't be framed: `valid` and `buffer` stay empty.
    ZEB_MethodData(std::string method_name, std::vector<unsigned char> payload);

    /// Unpacks a framed record, of any content. Fields that are not reached stay empty; a payload
    /// that runs into the trailer is unpacked but the record stays invalid. `padding` is not
    /// unpacked.
    explicit ZEB_MethodData(std::vector<unsigned char> record);

    std::int32_t valid = 0;  ///< 1 when the record was framed, or unpacked completely
    std::string method;
    std::vector<unsigned char> data;     ///< the payload
    std::vector<unsigned char> padding;  ///< as appended when framing
    std::vector<unsigned char> buffer;   ///< the whole record
};

}  // namespace dp

#endif
