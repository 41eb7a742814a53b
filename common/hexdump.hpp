#ifndef DP_COMMON_HEXDUMP_HPP
#define DP_COMMON_HEXDUMP_HPP

#include <iosfwd>

#include "common/export.hpp"

namespace dp {

/// Bytes to write as hexadecimal digits. Owns nothing: the bytes outlive the output statement.
struct hexdump {
    const unsigned char* bytes;
    /// Number of bytes; less than 1 writes nothing.
    int count;
};

/// Writes two lower-case digits a byte with nothing between. Of the stream's flags only the base is
/// replaced, and restored behind the last byte; the fill character stays '0' once a byte was
/// written.
DP_API std::ostream& operator<<(std::ostream& os, const hexdump& h);

}  // namespace dp

#endif
