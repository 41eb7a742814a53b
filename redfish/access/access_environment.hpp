#ifndef DP_REDFISH_ACCESS_ACCESS_ENVIRONMENT_HPP
#define DP_REDFISH_ACCESS_ACCESS_ENVIRONMENT_HPP

#include <chrono>
#include <cstddef>
#include <functional>
#include <span>
#include <string>

#include "support/result.hpp"

namespace dp_redfish {

/// What logins need of the operating system. Tests replace it. All functions are called from any
/// thread.
struct access_environment {
    /// A clock that is never set: for time-outs and lock-outs.
    std::function<std::chrono::steady_clock::time_point()> steady_now;
    /// The time of day: for what people read.
    std::function<std::chrono::system_clock::time_point()> wall_now;
    /// Fills the bytes from the source of random numbers for cryptography; false when it failed.
    std::function<bool(std::span<unsigned char>)> fill_random;

    /// The system's clocks and getrandom(2).
    static access_environment of_system();
};

/// `count` random bytes as two lower-case hexadecimal digits each.
dp_support::result<std::string> random_digits(const access_environment& environment,
                                              std::size_t count);

}  // namespace dp_redfish

#endif
