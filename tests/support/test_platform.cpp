#include "tests/support/test_platform.hpp"

#include <cerrno>

#include "common/clock.hpp"
#include "host/process/wall_clock.hpp"
#include "platform/sysipc/application_log.hpp"
#include "platform/sysipc/thread.hpp"

#ifdef __SANITIZE_ADDRESS__
// The platform's shared library defines these functions too, on purpose.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options() {
    return "detect_odr_violation=0";
}
#endif

namespace sysipc {

// The process starts without a log; a recording_log becomes the log.
event_log::streams* application_log::app_streams = nullptr;

}  // namespace sysipc

namespace test {
namespace {

stepped_time* active_time = nullptr;

}  // namespace

stepped_time::stepped_time(std::time_t start)
    : milliseconds(static_cast<std::int64_t>(start) * 1000) {
    active_time = this;
}

stepped_time::~stepped_time() {
    active_time = nullptr;
}

}  // namespace test

namespace sysipc {

void thread::sleep(std::uint32_t milliseconds) {
    if (test::active_time == nullptr) {
        timespec rest{static_cast<std::time_t>(milliseconds / 1000),
                      static_cast<long>(milliseconds % 1000) * 1'000'000L};
        while (nanosleep(&rest, &rest) != 0 && errno == EINTR) {
        }
        return;
    }
    auto& time = *test::active_time;
    time.milliseconds += milliseconds;
    time.sleeps.push_back(milliseconds);
    if (time.on_sleep) {
        time.on_sleep(milliseconds);
    }
}

}  // namespace sysipc

namespace dp {

std::time_t current_time() {
    return test::active_time != nullptr ? test::active_time->now() : std::time(nullptr);
}

}  // namespace dp

namespace dp_host {

std::time_t wall_clock() {
    return dp::current_time();
}

}  // namespace dp_host
