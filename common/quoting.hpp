#ifndef DP_COMMON_QUOTING_HPP
#define DP_COMMON_QUOTING_HPP

#include <string>

#include "common/export.hpp"

namespace dp {

/// `s` without one leading and one trailing double quote. Each end is examined on its own.
DP_API std::string strip_quotes(const std::string& s);

/// `s` in double quotes; nothing inside is escaped.
DP_API std::string add_quotes(const std::string& s);

/// `s` with a backslash before every backslash and double quote, which the batch file reader
/// removes again.
DP_API std::string add_backslash(const std::string& s);

}  // namespace dp

#endif
