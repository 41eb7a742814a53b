#ifndef DP_TOOLS_DPCTL_SYSTEM_DENIED_ACCESS_HPP
#define DP_TOOLS_DPCTL_SYSTEM_DENIED_ACCESS_HPP

#include <string>

namespace dpctl {

/// What to do about the system's reason `error` why `path` cannot be read, or connected to if it is
/// a socket: "permission denied: run as root or join the group operators" when the group of the
/// file, or of the first folder that may not be entered, has the access that is missing; otherwise
/// only "run as root". Any other reason is the system's text.
std::string explain_denied_access(const std::string& path, int error);

/// The same for the socket `path`; empty if this user may connect to it, or if it does not exist.
std::string why_connection_denied(const std::string& path);

}  // namespace dpctl

#endif
