#ifndef DP_TESTS_SUPPORT_EVENTUALLY_HPP
#define DP_TESTS_SUPPORT_EVENTUALLY_HPP

#include <chrono>
#include <thread>

namespace test {

/// How long a test waits for another process or thread on a busy machine.
inline constexpr std::chrono::seconds patience{120};

/// Waits until `condition()` is true; false when it is not within `patience`.
template <class Condition>
bool eventually(Condition condition) {
    constexpr std::chrono::milliseconds pause(2);
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(pause);
    }
    return true;
}

}  // namespace test

#endif
