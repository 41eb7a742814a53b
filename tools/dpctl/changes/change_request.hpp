#ifndef DP_TOOLS_DPCTL_CHANGES_CHANGE_REQUEST_HPP
#define DP_TOOLS_DPCTL_CHANGES_CHANGE_REQUEST_HPP

#include <cstdint>
#include <string>
#include <vector>

#include "service_api/change_record.hpp"
#include "service_api/settings_client.hpp"
#include "tools/dpctl/changes/setting_change.hpp"

namespace dpctl {

class report;

/// How a request to the settings service ended.
struct request_end {
    dp_service::settings_client::states state = dp_service::settings_client::states::no_service;
    double seconds = 0;
    /// What dependencies changed, also of the settings that were requested.
    std::vector<dp_service::change_record> dependent{};

    /// Whether the changes have their statuses.
    [[nodiscard]] bool is_answered() const {
        return state == dp_service::settings_client::states::answered;
    }
    /// Whether the service did nothing and will do nothing.
    [[nodiscard]] bool is_dropped() const {
        return !is_answered() && state != dp_service::settings_client::states::unanswered;
    }
    /// The state as programs read it: "answered", "refused", "withdrawn", "no_service",
    /// "unanswered".
    [[nodiscard]] const char* word() const;
};

/// Why the service did not do what was requested, for a person. A user who may not use its socket
/// gets what to do about it.
std::string request_problem(const dp_service::settings_client& client,
                            const dp_service::settings_client::result& answer);

/// Why a request cannot contain the change, as the text after "NAME: "; empty if it can.
std::string why_not_requestable(const setting_change& change);

/// What to do when the pending values are not those any more that the changes were planned on.
enum class when_changed : std::uint8_t {
    request,  ///< request the changes all the same
    give_up,  ///< change nothing, and report that
};

/// Requests the changes from the settings service as one batch, and waits for the answer. On return
/// `replaced` is what each change replaced, whatever other clients do: if the pending values have
/// another version than `planned_on`, that of the values in `replaced`, and are to be changed all
/// the same, or if that is empty, the batch reads each setting immediately before it changes it.
///
/// Shows on standard error how many requests of other clients are ahead. SIGINT, SIGTERM and SIGHUP
/// withdraw a request that has not started; otherwise it is finished. Reports why there was no
/// answer, and whether the request was dropped or had started. Sets "request" and "waited_seconds"
/// of the document.
request_end request_changes(const std::vector<setting_change*>& changes,
                            const std::string& planned_on, when_changed otherwise, report& rep);

}  // namespace dpctl

#endif
