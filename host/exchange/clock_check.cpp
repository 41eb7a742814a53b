#include "host/exchange/clock_check.hpp"

#include <cstdlib>
#include <ctime>
#include <fstream>
#include <sstream>

#include "host/process/service_log.hpp"
#include "host/process/trusted_file.hpp"
#include "support/staged_file.hpp"

namespace dp_host {
namespace {

constexpr std::size_t longest_record = 256;
constexpr std::int64_t tolerance = 1;

// The time of day when the system was booted, in seconds since 1970. It changes only when the clock
// is set.
std::int64_t clock_offset() {
    timespec since_boot{};
    timespec time_of_day{};
    clock_gettime(CLOCK_BOOTTIME, &since_boot);
    clock_gettime(CLOCK_REALTIME, &time_of_day);
    return static_cast<std::int64_t>(time_of_day.tv_sec) - since_boot.tv_sec;
}

bool differ(std::int64_t a, std::int64_t b) {
    return std::llabs(a - b) > tolerance;
}

}  // namespace

clock_check::clock_check() : offset_(clock_offset()) {}

bool clock_check::was_set() {
    const std::int64_t before = offset_;
    offset_ = clock_offset();
    return differ(before, offset_);
}

bool clock_check::was_set_since_last_service(const std::string& path) const {
    std::string boot;
    // Not every service may read it. Without it, the offset alone decides.
    if (!(std::ifstream("/proc/sys/kernel/random/boot_id") >> boot)) {
        boot = "-";
    }
    bool was_set = false;
    if (const auto stored = read_trusted_file(path, longest_record)) {
        std::string boot_before;
        std::int64_t offset_before = 0;
        std::istringstream(*stored) >> boot_before >> offset_before;
        was_set = boot != boot_before || differ(offset_before, offset_);
    }
    dp_support::staged_file file(path, dp_support::staged_file::volatile_file);
    file.out() << boot << ' ' << offset_ << '\n';
    const auto replaced = file.complete().and_then([&] { return file.replace(); });
    if (!replaced) {
        log_error("cannot store the clock's offset: ", replaced.reason());
    }
    return was_set;
}

}  // namespace dp_host
