#ifndef DP_TESTS_SUPPORT_TEST_PLATFORM_HPP
#define DP_TESTS_SUPPORT_TEST_PLATFORM_HPP

#include <cstdint>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "platform/sysipc/application_log.hpp"
#include "tests/support/scratch_files.hpp"

namespace test {

/// An application log that keeps what it is given. Construct one in a test to be the process's log;
/// it takes itself away again.
class recording_log final : public sysipc::event_log::streams {
  public:
    struct line {
        std::string level;
        std::string text;
        bool operator==(const line&) const = default;
    };

    explicit recording_log(std::uint32_t level_mask);
    ~recording_log();
    recording_log(const recording_log&) = delete;
    recording_log& operator=(const recording_log&) = delete;

    void append(const std::string& level, const std::string& text) override;
    [[nodiscard]] std::uint32_t mask() const override { return mask_value; }
    [[nodiscard]] std::int32_t file() const override { return file_value; }
    [[nodiscard]] std::uint32_t level() const override { return level_value; }

    std::vector<line> lines;
    std::uint32_t mask_value;
    std::int32_t file_value = 0;
    std::uint32_t level_value = 0;

  private:
    sysipc::event_log::streams* previous_;
};

/// The stepped clock and sleep: `sysipc::thread::sleep` returns at once, advances the clock by the
/// pause, remembers it, and calls `on_sleep`. Construct one in a test; without one, clock and sleep
/// are real.
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
