#ifndef DP_HOST_PROCESS_SERVICE_LOG_HPP
#define DP_HOST_PROCESS_SERVICE_LOG_HPP

#include <sstream>
#include <string>

#include "platform/sysipc/application_log.hpp"

namespace dp_host {

/// `parts` in order as one text.
template <class... Parts>
std::string text_of(const Parts&... parts) {
    std::ostringstream text;
    (text << ... << parts);
    return text.str();
}

/// An ordinary line in the process's log, if it has one that takes such lines.
template <class... Parts>
void log_line(const Parts&... parts) {
    auto* const streams = sysipc::application_log::app_streams;
    if (streams != nullptr && (streams->mask() & sysipc::event_log::log_level::log) != 0) {
        streams->append("LOG", text_of(' ', parts...));
    }
}

/// An error line.
template <class... Parts>
void log_error(const Parts&... parts) {
    auto* const streams = sysipc::application_log::app_streams;
    if (streams != nullptr && (streams->mask() & sysipc::event_log::log_level::error) != 0) {
        streams->append("ERR", text_of(" ***ERROR*** ", parts...));
    }
}

}  // namespace dp_host

#endif
