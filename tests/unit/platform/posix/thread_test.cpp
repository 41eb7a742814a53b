#include "platform/sysipc/thread.hpp"

#include <gtest/gtest.h>
#include <sys/time.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <ctime>

#include "tests/support/intercepted_call.hpp"

namespace {

// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): set by a signal handler.
volatile std::sig_atomic_t alarms = 0;

void count_alarm(int /*signal*/) {
    alarms = alarms + 1;
}

std::chrono::nanoseconds duration_of_sleep(std::uint32_t milliseconds) {
    const auto start = std::chrono::steady_clock::now();
    sysipc::thread::sleep(milliseconds);
    return std::chrono::steady_clock::now() - start;
}

TEST(thread_sleep, lasts_at_least_as_long_as_asked) {
    EXPECT_GE(duration_of_sleep(30), std::chrono::milliseconds(30));
}

TEST(thread_sleep, carries_over_to_the_next_second) {
    timespec now{};
    ASSERT_EQ(clock_gettime(CLOCK_MONOTONIC, &now), 0);
    // 20 ms from now, counted from the end of the last second.
    const auto milliseconds = static_cast<std::uint32_t>(now.tv_nsec / 1'000'000 + 21);
    const auto end = std::chrono::seconds(now.tv_sec) + std::chrono::milliseconds(milliseconds);
    {
        const test::stopped_clocks stopped({now.tv_sec - 1, 999'999'999});
        sysipc::thread::sleep(milliseconds);
    }
    EXPECT_GE(std::chrono::steady_clock::now().time_since_epoch() + std::chrono::nanoseconds(1),
              end);
}

TEST(thread_sleep, returns_without_a_clock) {
    const test::intercepted_call no_clock(test::libc_call::clock_gettime, EINVAL);
    sysipc::thread::sleep(1'000'000'000);
    SUCCEED();
}

TEST(thread_sleep, returns_for_0) {
    sysipc::thread::sleep(0);
    SUCCEED();
}

TEST(thread_sleep, is_not_interrupted_by_signals) {
    struct sigaction action {};
    struct sigaction previous {};
    action.sa_handler = count_alarm;
    ASSERT_EQ(sigaction(SIGALRM, &action, &previous), 0);
    const itimerval every_5_ms{{0, 5000}, {0, 5000}};
    const itimerval off{};
    // Several signals may be delivered as one when a busy machine does not run the process.
    alarms = 0;
    for (int tries = 0; tries < 100 && alarms < 2; ++tries) {
        alarms = 0;
        ASSERT_EQ(setitimer(ITIMER_REAL, &every_5_ms, nullptr), 0);
        const auto duration = duration_of_sleep(100);
        setitimer(ITIMER_REAL, &off, nullptr);
        EXPECT_GE(duration, std::chrono::milliseconds(100));
    }
    sigaction(SIGALRM, &previous, nullptr);
    EXPECT_GE(alarms, 2);
}

}  // namespace
