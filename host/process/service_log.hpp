#ifndef DP_HOST_PROCESS_SERVICE_LOG_HPP
#define DP_HOST_PROCESS_SERVICE_LOG_HPP

#include <cstdint>
#include <sstream>
#include <string>

#include "platform/sysipc/application_log.hpp"

namespace dp_host {

/// Bits of the application log's level mask.
inline constexpr std::uint32_t ordinary_lines = 0x80000000;
inline constexpr std::uint32_t error_lines = 0x10000000;

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
    if (streams != nullptr && (streams->mask() & ordinary_lines) != 0) {
        streams->append("LOG", text_of(' ', parts...));
    }
}

/// An error line.
template <class... Parts>
void log_error(const Parts&... parts) {
    auto* const streams = sysipc::application_log::app_streams;
    if (streams != nullptr && (streams->mask() & error_lines) != 0) {
        streams->append("ERR", text_of(" ***ERROR*** ", parts...));
    }
}

}  // namespace dp_host

#endif
