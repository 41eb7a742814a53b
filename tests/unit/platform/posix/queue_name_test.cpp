#include "platform/posix/queue_name.hpp"

#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/support/environment_variable.hpp"

namespace {

TEST(queue_name, has_the_prefix_of_the_environment) {
    test::environment_variable prefix("DP_QUEUE_PREFIX", "rack-1.a_B");
    EXPECT_EQ(dp_platform::queue_name(8), "/rack-1.a_B.dp.queue.8");
    prefix.set("");
    EXPECT_EQ(dp_platform::queue_name(255), "/dp.queue.255");
    unsetenv("DP_QUEUE_PREFIX");
    EXPECT_EQ(dp_platform::queue_name(0), "/dp.queue.0");
    EXPECT_EQ(dp_platform::problem_with_queue_prefix(), "");
}

TEST(queue_name, is_empty_for_an_invalid_prefix) {
    const test::environment_variable prefix("DP_QUEUE_PREFIX", "a/b");
    EXPECT_EQ(dp_platform::queue_name(8), "");
    EXPECT_EQ(dp_platform::problem_with_queue_prefix(),
              "DP_QUEUE_PREFIX must be at most 64 letters, digits, '_', '-' and '.'");
}

}  // namespace
