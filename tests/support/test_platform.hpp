#ifndef DP_TESTS_SUPPORT_TEST_PLATFORM_HPP
#define DP_TESTS_SUPPORT_TEST_PLATFORM_HPP

#include <cstdint>
#include <ctime>
#include <functional>
#include <vector>

#include "tests/support/recording_log.hpp"
#include "tests/support/scratch_files.hpp"

namespace test {

/// Replaces the clock and the sleep for its lifetime: `sysipc::thread::sleep` returns at once,
/// advances the clock by the pause, records it, and calls `on_sleep`. Without an object of this
/// class both are real.
class stepped_time {
  public:
    explicit stepped_time(std::time_t start = 1'700'000'000);
    ~stepped_time();
    stepped_time(const stepped_time&) = delete;
    stepped_time& operator=(const stepped_time&) = delete;

    void advance(std::time_t seconds) { milliseconds += static_cast<std::int64_t>(seconds) * 1000; }
    [[nodiscard]] std::time_t now() const { return static_cast<std::time_t>(milliseconds / 1000); }

    std::int64_t milliseconds;
    std::vector<std::uint32_t> sleeps;
    std::function<void(std::uint32_t)> on_sleep;  ///< called with the pause, after it was recorded
};

}  // namespace test

#endif
