#include <platform/sysipc/application_log.hpp>
#include <platform/sysipc/event_log.hpp>

#include "snippets.hpp"

void snippets::platform(const std::string& /*folder*/) {
    //! [example]
    namespace log_level = sysipc::event_log::log_level;
    auto* const log = sysipc::application_log::app_streams;
    if (log != nullptr && (log->mask() & log_level::error) != 0) {
        log->append("ERR", " fan 2 has stopped");
    }
    //! [example]
}
