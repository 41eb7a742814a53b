#ifndef DP_PLATFORM_SYSIPC_APPLICATION_LOG_HPP
#define DP_PLATFORM_SYSIPC_APPLICATION_LOG_HPP

#include "common/export.hpp"
#include "platform/sysipc/event_log.hpp"

namespace sysipc {

/// The process's diagnostic log.
struct DP_API application_log {
    /// Null when the process has no log. Owned by the platform, which changes it only while no call
    /// of the library runs; valid until then.
    // NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): one log for the process.
    static event_log::streams* app_streams;
};

}  // namespace sysipc

#endif
