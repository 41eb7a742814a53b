#ifndef DP_REDFISH_RESOURCES_SETTINGS_UPDATE_HPP
#define DP_REDFISH_RESOURCES_SETTINGS_UPDATE_HPP

#include <functional>
#include <memory>
#include <vector>

#include "redfish/model/server_model.hpp"
#include "redfish/protocol/call.hpp"
#include "redfish/protocol/messages.hpp"
#include "service_api/settings_client.hpp"

namespace dp_redfish {

/// What a PATCH of the pending values answers when it is done: the resource, with `notes` about it.
using settings_answer =
    std::function<answer(const snapshot_pointer& now, const std::vector<message>& notes)>;

/// Does a PATCH of the pending values, whose body is valid but for the values in "Attributes", and
/// returns its answer. All values get into the file, or none. Waits for the settings service: to be
/// called on the thread of changes.
///
/// The change is made only to the values that it was checked with. With If-Match, these are the
/// values that the client knows; otherwise the change is checked again when others are faster.
answer update_settings(server_model& model, dp_service::settings_client& client,
                       const call& request, const settings_answer& answer_with);

}  // namespace dp_redfish

#endif
