#include "tests/support/test_platform.hpp"

#include <cerrno>

#include "common/clock.hpp"
#include "platform/sysipc/thread.hpp"

#ifdef __SANITIZE_ADDRESS__
// What this file replaces stands in the platform's shared library too, on purpose.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options() {
    return "detect_odr_violation=0";
}
#endif

namespace sysipc {

// The process starts without a log; a recording_log makes itself the log.
event_log::streams* application_log::app_streams = nullptr;

}  // namespace sysipc

namespace test {
namespace {

stepped_time* active_time = nullptr;

}  // namespace

recording_log::recording_log(std::uint32_t level_mask)
    : mask_value(level_mask), previous_(sysipc::application_log::app_streams) {
    sysipc::application_log::app_streams = this;
}

recording_log::~recording_log() {
    sysipc::application_log::app_streams = previous_;
}

void recording_log::append(const std::string& level, const std::string& text) {
    lines.push_back({level, text});
}

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
