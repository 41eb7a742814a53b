#ifndef DP_COMMON_CLOCK_HPP
#define DP_COMMON_CLOCK_HPP

#include <ctime>

namespace dp {

/// The time of day in seconds since the epoch. Defined in its own source, so that tests can link a
/// clock that they control.
std::time_t current_time();

}  // namespace dp

#endif
