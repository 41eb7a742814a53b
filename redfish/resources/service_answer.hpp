#ifndef DP_REDFISH_RESOURCES_SERVICE_ANSWER_HPP
#define DP_REDFISH_RESOURCES_SERVICE_ANSWER_HPP

#include "redfish/protocol/call.hpp"
#include "service_api/settings_client.hpp"

namespace dp_redfish {

/// Whether a request to the settings service was answered with status 0.
bool was_done(const dp_service::settings_client::result& outcome);

/// The error for a request that was not done.
answer service_failure(const dp_service::settings_client::result& outcome);

}  // namespace dp_redfish

#endif
