#ifndef DP_SUPPORT_PROCESS_LOG_HPP
#define DP_SUPPORT_PROCESS_LOG_HPP

#include <cstdint>
#include <string>

#include "platform/sysipc/application_log.hpp"

// The lines of a program in its process's log. From any thread.

namespace dp_support {

/// Whether there is a log whose level mask has `level`, one of `sysipc::event_log::log_level`.
inline bool is_logged(std::uint32_t level) {
    const auto* const streams = sysipc::application_log::app_streams;
    return streams != nullptr && (streams->mask() & level) != 0;
}

/// Appends a line if its level is logged.
inline void append_to_log(std::uint32_t level, const char* tag, const std::string& line) {
    if (is_logged(level)) {
        sysipc::application_log::app_streams->append(tag, ' ' + line);
    }
}

/// An ordinary line.
inline void log_line(const std::string& line) {
    append_to_log(sysipc::event_log::log_level::log, "LOG", line);
}

/// An error line.
inline void log_error(const std::string& line) {
    append_to_log(sysipc::event_log::log_level::error, "ERR", "***ERROR*** " + line);
}

}  // namespace dp_support

#endif
