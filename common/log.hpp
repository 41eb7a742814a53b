#ifndef DP_COMMON_LOG_HPP
#define DP_COMMON_LOG_HPP

#include <cstdint>
#include <locale>
#include <sstream>

#include "platform/sysipc/application_log.hpp"

namespace dp {

namespace log_level = sysipc::event_log::log_level;

/// Whether the application log exists and its mask has a bit of `level`.
inline bool log_enabled(std::uint32_t level) {
    const auto* streams = sysipc::application_log::app_streams;
    return streams != nullptr && (streams->mask() & level) != 0;
}

/// Appends one line to the application log when `level` is enabled: `tag` ("LOG", "DBG" or "ERR")
/// and a text of one space followed by `parts` in order. Formats nothing when it is not enabled.
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

/// Appends an error line: tag "ERR", the text begins " ***ERROR*** ".
template <class... Parts>
void log_error_line(const Parts&... parts) {
    log_line(log_level::error, "ERR", "***ERROR*** ", parts...);
}

}  // namespace dp

#endif
