#ifndef DP_TESTS_SYSTEM_DP_SETTINGSD_SETTINGSD_FIXTURE_HPP
#define DP_TESTS_SYSTEM_DP_SETTINGSD_SETTINGSD_FIXTURE_HPP

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include "tests/support/service_process.hpp"

namespace test {

/// dp_settingsd as a process, not started yet.
class settingsd_fixture : public testing::Test {
  protected:
    service_process server;

    void start() { ASSERT_TRUE(server.start()) << service_process::log(); }

    /// Expects that the service ends at once with exit code 1 and that its only line, apart from
    /// ordinary log lines, is this one.
    void expect_refusal(const std::string& line);

    static std::string path(const std::string& below_root) {
        return service_process::path(below_root);
    }
};

std::size_t line_count(const std::string& text);

/// The values of the pending file as the library reads them.
std::vector<std::string> pending_values();

/// Writes a batch and kills the service after `delay`. The delay begins before the batch is
/// written, because the service may be faster than its writer.
void kill_during_batch(service_process& server, const std::string& text,
                       std::chrono::microseconds delay);

/// Random delays of such kills. They adapt to the speed of the machine: shorter after a kill that
/// came after the answer, longer after one that came before it.
class kill_schedule {
  public:
    kill_schedule(unsigned seed, std::chrono::microseconds first)
        : random_(seed), longest_(first) {}

    std::chrono::microseconds next();
    void adapt(bool was_answered);

  private:
    std::mt19937 random_;
    std::chrono::microseconds longest_;
};

}  // namespace test

#endif
