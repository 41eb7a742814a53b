#ifndef DP_TESTS_SUPPORT_STEPPED_ACCESS_HPP
#define DP_TESTS_SUPPORT_STEPPED_ACCESS_HPP

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "redfish/access/access_environment.hpp"

namespace test {

/// Clocks that tests step, and repeatable random numbers. Must outlive what uses it.
class stepped_access {
  public:
    dp_redfish::access_environment environment() {
        return {
            [this] {
                return std::chrono::steady_clock::time_point(
                    std::chrono::seconds(1000 + passed_.load()));
            },
            [this] {
                // 2026-03-01T00:00:00Z
                return std::chrono::system_clock::time_point(
                    std::chrono::seconds(1'772'323'200 + passed_.load()));
            },
            [this](std::span<unsigned char> bytes) {
                const std::lock_guard lock(mutex_);
                for (unsigned char& byte : bytes) {
                    byte = static_cast<unsigned char>(generator_());
                }
                return !random_fails.load();
            },
        };
    }

    void advance(std::chrono::seconds by) { passed_ += by.count(); }

    std::atomic<bool> random_fails = false;

  private:
    std::atomic<std::int64_t> passed_ = 0;
    std::mutex mutex_;
    std::mt19937 generator_{1};
};

/// The lines of an audit log.
class kept_lines {
  public:
    std::function<void(const std::string&)> writer() {
        return [this](const std::string& line) {
            const std::lock_guard lock(mutex_);
            lines_.push_back(line);
        };
    }

    /// All lines, each with a newline.
    std::string text() {
        const std::lock_guard lock(mutex_);
        std::string all;
        for (const std::string& line : lines_) {
            all += line + '\n';
        }
        return all;
    }

    /// The number of lines that contain `part`.
    std::size_t count(const std::string& part) {
        const std::lock_guard lock(mutex_);
        std::size_t found = 0;
        for (const std::string& line : lines_) {
            found += line.find(part) != std::string::npos ? 1U : 0U;
        }
        return found;
    }

  private:
    std::mutex mutex_;
    std::vector<std::string> lines_;
};

}  // namespace test

#endif
