#ifndef DP_COMMON_CLOCK_HPP
#define DP_COMMON_CLOCK_HPP

#include <ctime>

namespace dp {

/// The time of day in seconds since the epoch. It has a source of its own so that tests can link a
/// clock that they step.
std::time_t current_time();

}  // namespace dp

#endif
