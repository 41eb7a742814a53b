#include "platform/sysipc/application_log.hpp"

#include "platform/posix/posix_log.hpp"

namespace sysipc {

// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): one log for the process.
event_log::streams* application_log::app_streams = nullptr;

namespace {

// Runs when the library is loaded, before the code of programs that link it.
[[gnu::constructor]] void configure_from_environment() {
    dp_platform::configure_log({});
}

}  // namespace
}  // namespace sysipc
