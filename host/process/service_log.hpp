#ifndef DP_HOST_PROCESS_SERVICE_LOG_HPP
#define DP_HOST_PROCESS_SERVICE_LOG_HPP

#include "host/process/text_of.hpp"
#include "support/process_log.hpp"

namespace dp_host {

/// An ordinary line, of the texts of `parts`.
template <class... Parts>
void log_line(const Parts&... parts) {
    if (dp_support::is_logged(sysipc::event_log::log_level::log)) {
        dp_support::log_line(text_of(parts...));
    }
}

/// An error line.
template <class... Parts>
void log_error(const Parts&... parts) {
    if (dp_support::is_logged(sysipc::event_log::log_level::error)) {
        dp_support::log_error(text_of(parts...));
    }
}

}  // namespace dp_host

#endif
