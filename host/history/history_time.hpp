#ifndef DP_HOST_HISTORY_HISTORY_TIME_HPP
#define DP_HOST_HISTORY_HISTORY_TIME_HPP

#include <ctime>
#include <string>

namespace dp_host {

/// The local time of `when` with its zone, "2026-11-22T15:25:09+01:00"; empty for a time that has
/// no such form.
std::string history_time(std::time_t when);

}  // namespace dp_host

#endif
