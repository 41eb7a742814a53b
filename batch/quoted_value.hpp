#ifndef DP_BATCH_QUOTED_VALUE_HPP
#define DP_BATCH_QUOTED_VALUE_HPP

#include <sstream>
#include <string>

#include "common/export.hpp"

namespace dp {

/// Reads the next value in double quotes and consumes it with its closing quote. Skips all text
/// before the opening quote. A backslash escapes the next character, also in the skipped text. An
/// unterminated value ends with the input.
DP_API std::string parse_quoted_escaped_str(std::stringstream& in);

}  // namespace dp

#endif
