#include "platform/sysipc/thread.hpp"

#include <cerrno>
#include <ctime>

namespace sysipc {

void thread::sleep(std::uint32_t milliseconds) {
    // An absolute end time, so that pauses interrupted by signals do not add up to more.
    timespec end{};
    if (clock_gettime(CLOCK_MONOTONIC, &end) != 0) {
        return;
    }
    constexpr long second = 1'000'000'000;
    end.tv_sec += static_cast<std::time_t>(milliseconds / 1000);
    end.tv_nsec += static_cast<long>(milliseconds % 1000) * 1'000'000;
    if (end.tv_nsec >= second) {
        end.tv_nsec -= second;
        ++end.tv_sec;
    }
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
    }
}

}  // namespace sysipc
