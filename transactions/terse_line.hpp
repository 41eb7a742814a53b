#ifndef DP_TRANSACTIONS_TERSE_LINE_HPP
#define DP_TRANSACTIONS_TERSE_LINE_HPP

#include <cstdint>
#include <iosfwd>
#include <string>

#include "transactions/operations.hpp"

namespace dp {

/// The items of a result line, which both command classes write in the same form.
struct terse_line {
    std::int32_t status;
    std::uint32_t correlator;
    const std::string& tid;
    operations operation;
    const std::string& target;
    const std::string& value_in;
    const std::string& value_out;
};

/// Writes the line without a newline. The stream's flags, fill and width have no effect; the width
/// is reset, as by any output operation.
std::ostream& operator<<(std::ostream& os, const terse_line& line);

}  // namespace dp

#endif
