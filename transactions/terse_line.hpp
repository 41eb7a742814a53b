#ifndef DP_TRANSACTIONS_TERSE_LINE_HPP
#define DP_TRANSACTIONS_TERSE_LINE_HPP

#include <cstdint>
#include <iosfwd>
#include <string>

#include "transactions/operations.hpp"

namespace dp {

/// The items of a result line, which both kinds of command write alike.
struct terse_line {
    std::int32_t status;
    std::uint32_t correlator;
    const std::string& tid;
    operations operation;
    const std::string& target;
    const std::string& value_in;
    const std::string& value_out;
};

/// Writes the line without a line end. It is the same whatever the stream's flags, fill and width
/// are; the width is reset, as by any output operation.
std::ostream& operator<<(std::ostream& os, const terse_line& line);

}  // namespace dp

#endif
