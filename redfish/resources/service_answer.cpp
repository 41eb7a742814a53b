#include "redfish/resources/service_answer.hpp"

#include "redfish/protocol/http_status.hpp"
#include "redfish/protocol/messages.hpp"
#include "redfish/protocol/standard_answers.hpp"
#include "service_api/service_status.hpp"
#include "transactions/command_status.hpp"

namespace dp_redfish {

bool was_done(const dp_service::settings_client::result& outcome) {
    return outcome.state == dp_service::settings_client::states::answered &&
           outcome.status == dp::command_status::success;
}

answer service_failure(const dp_service::settings_client::result& outcome) {
    namespace service_status = dp_service::service_status;
    using states = dp_service::settings_client::states;
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
            return error_answer(http_status::precondition_failed, {{"PreconditionFailed"}});
        case service_status::over_limit:
            return unavailable_answer("The settings service has too many requests.");
        case service_status::not_persisted:
            return error_answer(http_status::insufficient_storage, {{"InsufficientStorage"}});
        case service_status::not_supported:
            return error_answer(http_status::bad_request, {{"ActionNotSupported", {"Reset"}}});
        default:
            return error_answer(http_status::internal_error,
                                {{"InternalError",
                                  {},
                                  {},
                                  "The settings service refused the request with status " +
                                      std::to_string(outcome.status) + '.'}});
    }
}

}  // namespace dp_redfish
