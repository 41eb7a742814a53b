#include "common/clock.hpp"

#include <gtest/gtest.h>

// The test platform replaces the function, so the tests get a copy of the library's own.
namespace library {
// NOLINTNEXTLINE(bugprone-suspicious-include)
#include "common/clock.cpp"
}  // namespace library

namespace {

TEST(current_time, is_the_systems) {
    const std::time_t before = std::time(nullptr);
    const std::time_t now = library::dp::current_time();
    EXPECT_LE(before, now);
    EXPECT_LE(now, std::time(nullptr));
}

}  // namespace
