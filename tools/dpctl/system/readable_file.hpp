#ifndef DP_TOOLS_DPCTL_SYSTEM_READABLE_FILE_HPP
#define DP_TOOLS_DPCTL_SYSTEM_READABLE_FILE_HPP

#include <string>

namespace dpctl {

/// Why the file `path` cannot be read, with its name: it is not a regular file, or as
/// `explain_denied_access` says. Empty when it can be read, and also when it does not exist.
std::string why_unreadable(const std::string& path);

}  // namespace dpctl

#endif
