#include "common/hexdump.hpp"

#include <iomanip>
#include <ostream>

namespace dp {

std::ostream& operator<<(std::ostream& os, const hexdump& h) {
    const std::ios_base::fmtflags flags = os.flags();
    for (int i = 0; i < h.count; ++i) {
        os << std::setw(2) << std::setfill('0');
        os.setf(std::ios_base::hex, std::ios_base::basefield);
        os << static_cast<unsigned>(h.bytes[i]);
    }
    os.flags(flags);
    return os;
}

}  // namespace dp
