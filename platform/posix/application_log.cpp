#include "platform/sysipc/application_log.hpp"

#include "platform/posix/posix_log.hpp"

namespace sysipc {

// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): one log for the process.
event_log::streams* application_log::app_streams = nullptr;

namespace {

// Runs when the library is loaded, before anything that links it.
[[gnu::constructor]] void set_log_up() {
    dp_platform::configure_log({});
}

}  // namespace
}  // namespace sysipc
