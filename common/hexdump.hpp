#ifndef DP_COMMON_HEXDUMP_HPP
#define DP_COMMON_HEXDUMP_HPP

#include <iosfwd>

#include "common/export.hpp"

namespace dp {

/// Bytes to write as hexadecimal digits. They are not owned and must outlive the output statement.
struct hexdump {
    const unsigned char* bytes;  ///< not owned
    /// Number of bytes; less than 1 writes nothing.
    int count;
};

/// Writes two lower-case digits for each byte, without separators. Restores the stream's flags
/// afterwards. The fill character remains '0' once a byte was written.
DP_API std::ostream& operator<<(std::ostream& os, const hexdump& h);

}  // namespace dp

#endif
