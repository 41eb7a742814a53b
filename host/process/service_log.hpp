#ifndef DP_HOST_PROCESS_SERVICE_LOG_HPP
#define DP_HOST_PROCESS_SERVICE_LOG_HPP

#include <cstdint>
#include <string>

#include "host/process/text_of.hpp"
#include "platform/sysipc/application_log.hpp"

namespace dp_host {

/// Appends a line to the process's log when there is one and its level mask has `level`.
template <class... Parts>
void append_to_log(std::uint32_t level, const char* tag, const Parts&... parts) {
    auto* const streams = sysipc::application_log::app_streams;
    if (streams != nullptr && (streams->mask() & level) != 0) {
        streams->append(tag, text_of(' ', parts...));
    }
}

/// An ordinary line.
template <class... Parts>
void log_line(const Parts&... parts) {
    append_to_log(sysipc::event_log::log_level::log, "LOG", parts...);
}

/// An error line.
template <class... Parts>
void log_error(const Parts&... parts) {
    append_to_log(sysipc::event_log::log_level::error, "ERR", "***ERROR*** ", parts...);
}

}  // namespace dp_host

#endif
