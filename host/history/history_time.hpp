#ifndef DP_HOST_HISTORY_HISTORY_TIME_HPP
#define DP_HOST_HISTORY_HISTORY_TIME_HPP

#include <ctime>
#include <string>

namespace dp_host {

/// The local time of `when` in the form of asctime(3), without the newline; empty for a time that
/// has no such form.
std::string history_time(std::time_t when);

}  // namespace dp_host

#endif
