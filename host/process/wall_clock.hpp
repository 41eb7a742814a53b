#ifndef DP_HOST_PROCESS_WALL_CLOCK_HPP
#define DP_HOST_PROCESS_WALL_CLOCK_HPP

#include <ctime>

namespace dp_host {

/// The time of day in seconds since the epoch. It may jump, and be in 1970 until the clock is set:
/// only texts for a person depend on it. Defined in its own source, so that tests can link a clock
/// that they control.
std::time_t wall_clock();

}  // namespace dp_host

#endif
