#ifndef DP_BATCH_QUOTED_VALUE_HPP
#define DP_BATCH_QUOTED_VALUE_HPP

#include <sstream>
#include <string>

#include "common/export.hpp"

namespace dp {

/// Reads the next value in double quotes and consumes it with its closing quote. What stands before
/// the opening quote is skipped; a backslash takes the next character as it is; an unterminated
/// value ends with the input.
DP_API std::string parse_quoted_escaped_str(std::stringstream& in);

}  // namespace dp

#endif
