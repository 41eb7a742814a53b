#ifndef DP_TOOLS_DP_TEMPLATE_VALUE_PATTERN_HPP
#define DP_TOOLS_DP_TEMPLATE_VALUE_PATTERN_HPP

#include <string>

namespace dp_tools {

/// Why `pattern` is not a regular expression that dp_settingsd could hold values against; empty
/// when it is one.
std::string pattern_problem(const std::string& pattern);

}  // namespace dp_tools

#endif
