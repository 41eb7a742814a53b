#ifndef DP_COMMON_LOG_HPP
#define DP_COMMON_LOG_HPP

#include <cstdint>
#include <locale>
#include <sstream>

#include "platform/sysipc/application_log.hpp"

namespace dp {

/// Bits of the application log's level mask that the library tests before it formats a text.
namespace log_level {
inline constexpr std::uint32_t log = 0x80000000;
inline constexpr std::uint32_t error = 0x10000000;
inline constexpr std::uint32_t trace_4 = 0x4;
inline constexpr std::uint32_t trace_2 = 0x2;
inline constexpr std::uint32_t trace_1 = 0x1;
}  // namespace log_level

/// Whether the application log exists and its mask has `level`.
inline bool log_enabled(std::uint32_t level) {
    const auto* streams = sysipc::application_log::app_streams;
    return streams != nullptr && (streams->mask() & level) != 0;
}

/// Appends one line to the application log when `level` is enabled: `tag` ("LOG", "DBG", "ERR") and
/// a text of one blank and then `parts` in order. Nothing is formatted when it is not enabled.
template <class... Parts>
void log_line(std::uint32_t level, const char* tag, const Parts&... parts) {
    if (!log_enabled(level)) {
        return;
    }
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << ' ';
    (text << ... << parts);
    sysipc::application_log::app_streams->append(tag, text.str());
}

/// An error line: tag "ERR", the text begins "***ERROR*** ".
template <class... Parts>
void log_error_line(const Parts&... parts) {
    log_line(log_level::error, "ERR", "***ERROR*** ", parts...);
}

}  // namespace dp

#endif
