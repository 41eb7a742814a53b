#ifndef DP_TESTS_SUPPORT_RECORDING_LOG_HPP
#define DP_TESTS_SUPPORT_RECORDING_LOG_HPP

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "platform/sysipc/application_log.hpp"

namespace test {

/// Replaces the process's application log for its lifetime and records what is logged. The default
/// mask lets ordinary lines and errors pass.
class recording_log final : public sysipc::event_log::streams {
  public:
    struct line {
        std::string level;
        std::string text;
        bool operator==(const line&) const = default;
    };

    explicit recording_log(std::uint32_t level_mask = sysipc::event_log::log_level::log |
                                                      sysipc::event_log::log_level::error)
        : mask_value(level_mask), previous_(sysipc::application_log::app_streams) {
        sysipc::application_log::app_streams = this;
    }
    ~recording_log() { sysipc::application_log::app_streams = previous_; }
    recording_log(const recording_log&) = delete;
    recording_log& operator=(const recording_log&) = delete;

    void append(const std::string& level, const std::string& text) override {
        lines.push_back({level, text});
        if (on_line) {
            on_line(lines.back());
        }
    }
    [[nodiscard]] std::uint32_t mask() const override { return mask_value; }
    [[nodiscard]] std::int32_t file() const override { return file_value; }
    [[nodiscard]] std::uint32_t level() const override { return level_value; }

    std::vector<line> lines;
    std::function<void(const line&)> on_line;  ///< called with each line, after it was recorded
    std::uint32_t mask_value;
    std::int32_t file_value = 0;
    std::uint32_t level_value = 0;

  private:
    sysipc::event_log::streams* previous_;
};

}  // namespace test

#endif
