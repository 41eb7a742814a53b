#ifndef DP_SERVICE_API_SERVICE_ALERTS_HPP
#define DP_SERVICE_API_SERVICE_ALERTS_HPP

#include "platform/dp/alerts.hpp"

/// What dp_settingsd reports on the alert queue in addition to the alerts of every board.
namespace dp_service::service_alerts {

/// A batch was not run, because its client no longer waited or could not be answered.
inline constexpr auto batch_set_aside = static_cast<dp::command::alerts>(16);

/// Dependencies of a registry changed values, because values that they depend on changed. The value
/// of the alert is their number, at most 255; the history has the causes.
inline constexpr auto changed_by_dependency = static_cast<dp::command::alerts>(17);

}  // namespace dp_service::service_alerts

#endif
