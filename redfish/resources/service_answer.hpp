#ifndef DP_REDFISH_RESOURCES_SERVICE_ANSWER_HPP
#define DP_REDFISH_RESOURCES_SERVICE_ANSWER_HPP

#include <string>

#include "redfish/protocol/call.hpp"
#include "service_api/settings_client.hpp"

namespace dp_redfish {

/// 503 with Retry-After; `reason` is a sentence for a person.
answer unavailable_answer(const std::string& reason);

/// The error for a request to the settings service that was not answered with status 0.
answer service_failure(const dp_service::settings_client::result& outcome);

}  // namespace dp_redfish

#endif
