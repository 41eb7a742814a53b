#ifndef DP_TOOLS_DPCTL_OUTPUT_LOCAL_TIME_HPP
#define DP_TOOLS_DPCTL_OUTPUT_LOCAL_TIME_HPP

#include <ctime>
#include <string>

namespace dpctl {

/// `when` in local time as programs read it, "2031-05-04T17:03:21+0200"; empty if it is out of the
/// range of the system's calendar.
std::string local_time(std::time_t when);

}  // namespace dpctl

#endif
