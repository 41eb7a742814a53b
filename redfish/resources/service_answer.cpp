#include "redfish/resources/service_answer.hpp"

#include "redfish/protocol/messages.hpp"
#include "service_api/service_status.hpp"

namespace dp_redfish {

answer unavailable_answer(const std::string& reason) {
    constexpr unsigned service_unavailable = 503;
    constexpr const char* pause = "5";  // seconds
    answer result =
        error_answer(service_unavailable, {{"ServiceTemporarilyUnavailable", {pause}, {}, reason}});
    result.headers["Retry-After"] = pause;
    return result;
}

answer service_failure(const dp_service::settings_client::result& outcome) {
    namespace service_status = dp_service::service_status;
    using states = dp_service::settings_client::states;
    constexpr unsigned bad_request = 400;
    constexpr unsigned precondition_failed = 412;
    constexpr unsigned failed = 500;
    constexpr unsigned no_storage = 507;
    switch (outcome.state) {
        case states::no_service:
            return unavailable_answer("The settings service does not take requests.");
        case states::withdrawn:
            return unavailable_answer("The settings service is busy; nothing was changed.");
        case states::unanswered:
            return unavailable_answer(
                "The settings service ended before it answered: the request was done as a whole or "
                "not at all.");
        case states::answered:
        case states::refused:
            break;
    }
    switch (outcome.status) {
        case service_status::pending_changed:
            return error_answer(precondition_failed, {{"PreconditionFailed"}});
        case service_status::over_limit:
            return unavailable_answer("The settings service has too many requests.");
        case service_status::not_persisted:
            return error_answer(no_storage, {{"InsufficientStorage"}});
        case service_status::not_supported:
            return error_answer(bad_request, {{"ActionNotSupported", {"Reset"}}});
        default:
            return error_answer(failed, {{"InternalError",
                                          {},
                                          {},
                                          "The settings service refused the request with status " +
                                              std::to_string(outcome.status) + '.'}});
    }
}

}  // namespace dp_redfish
