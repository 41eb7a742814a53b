#ifndef DP_COMMON_QUOTING_HPP
#define DP_COMMON_QUOTING_HPP

#include <string>

#include "common/export.hpp"

namespace dp {

/// `s` without one leading and one trailing double quote; each end is looked at by itself.
DP_API std::string strip_quotes(const std::string& s);

/// `s` between double quotes; nothing inside is escaped.
DP_API std::string add_quotes(const std::string& s);

/// `s` with a backslash in front of every backslash and double quote, as the batch file reader
/// takes it back.
DP_API std::string add_backslash(const std::string& s);

}  // namespace dp

#endif
