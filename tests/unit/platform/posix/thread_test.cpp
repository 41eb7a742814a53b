#include "platform/sysipc/thread.hpp"

#include <gtest/gtest.h>
#include <sys/time.h>

#include <chrono>
#include <csignal>

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
