#ifndef DP_PLATFORM_POSIX_POSIX_LOG_HPP
#define DP_PLATFORM_POSIX_POSIX_LOG_HPP

#include <cstdint>
#include <string>

#include "common/export.hpp"
#include "platform/sysipc/event_log.hpp"

/// The diagnostic log of a process on Linux.
///
/// The log is configured from the environment when libdp_platform is loaded:
///
///     DP_LOG       "none", or unset: the process has no log
///                  "stderr": lines go to standard error
///                  "file:PATH": lines are appended to the file, created with mode 0640 if
///                  missing
///                  "syslog": lines go to the system log as LOG_DAEMON
///     DP_LOG_MASK  the level mask, decimal or hexadecimal with 0x; 0x90000000 (errors and
///                  ordinary lines) when unset
///     DP_LOG_TAG   the name of the process in the lines; the program's file name when unset
///
/// An invalid value is reported on standard error. Then there is no log, or for DP_LOG_MASK the
/// default mask is used.
///
/// A line is "2024-05-17T09:30:12.345Z dp_settingsd[4711] ERR ***ERROR*** text": time in UTC,
/// process, level tag, text. Each line is one write, so the lines of several processes in one file
/// do not mix. Control bytes in the text appear as "\xNN", so a text is always one line. A line
/// that the sink does not take (disk full, pipe full) is silently dropped; the process never waits.
///
/// The log settings that started services inherit: `file()` is 1 for stderr, 2 for a file, 3 for
/// syslog. `level()` is the syslog priority of the least important class that the mask enables: 3
/// for errors only, 6 with ordinary lines, 7 with any trace, 8 when it enables nothing.
namespace dp_platform {

/// Used for the variables that are not set in the environment.
struct log_defaults {
    std::string sink = "none";  ///< "none", "stderr", "syslog" or "file:PATH"
    /// The classes of lines that are written.
    std::uint32_t mask = sysipc::event_log::log_level::error | sysipc::event_log::log_level::log;
    std::string tag;  ///< empty: the program's file name
};

/// Configures the process's log again, for a program that has its own defaults. The environment
/// takes precedence. False when the sink cannot be opened. Call it while no other thread logs.
DP_API bool configure_log(const log_defaults& defaults);

}  // namespace dp_platform

#endif
