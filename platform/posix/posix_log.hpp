#ifndef DP_PLATFORM_POSIX_POSIX_LOG_HPP
#define DP_PLATFORM_POSIX_POSIX_LOG_HPP

#include <cstdint>
#include <string>

#include "common/export.hpp"
#include "platform/sysipc/event_log.hpp"

/// The diagnostic log of a process on Linux.
///
/// It is set up when libdp_platform is loaded, from the environment:
///   DP_LOG       "none" (also when unset): the process has no log
///                "stderr": lines go to standard error
///                "file:PATH": lines are appended to a file, which is created (mode 0640) if
///                missing "syslog": lines go to the system log as LOG_DAEMON
///   DP_LOG_MASK  the level mask, decimal or with 0x hexadecimal; 0x90000000 (errors and ordinary
///                lines) when unset
///   DP_LOG_TAG   the name that stands for the process; the program's file name when unset
/// A value that can't be used is reported on standard error; then there is no log, or the mask's
/// default holds.
///
/// A line is "2024-05-17T09:30:12.345Z dp_settingsd[4711] ERR ***ERROR*** text": time in UTC,
/// process, level tag, text. It is written by a single write, so lines of several processes on one
/// file do not mix; control bytes in the text appear as \xNN, so a text is always one line. A sink
/// that does not take a line (disk full, pipe full) loses it; the process never waits.
///
/// The settings that the log hands to started services: `file()` is 1 for stderr, 2 for a file, 3
/// for syslog; `level()` is the syslog priority of the least important class that the mask lets
/// through: 3 for errors only, 6 with ordinary lines, 7 with any trace, 8 when it stops everything.
namespace dp_platform {

/// What holds where the environment says nothing.
struct log_defaults {
    std::string sink = "none";
    std::uint32_t mask = sysipc::event_log::log_level::error | sysipc::event_log::log_level::log;
    std::string tag;  ///< empty: the program's file name
};

/// Sets the process's log up again, for a program that has its own defaults. True unless a sink was
/// asked for and could not be opened. Call it while no other thread logs.
DP_API bool configure_log(const log_defaults& defaults);

}  // namespace dp_platform

#endif
