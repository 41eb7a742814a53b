#ifndef DP_REDFISH_RESOURCES_MODEL_ANSWERS_HPP
#define DP_REDFISH_RESOURCES_MODEL_ANSWERS_HPP

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "redfish/model/server_model.hpp"
#include "redfish/protocol/call.hpp"
#include "redfish/protocol/standard_answers.hpp"
#include "service_api/settings_client.hpp"

namespace dp_redfish {

/// Answers with what `make` returns for a snapshot of the server: `answer make(const
/// snapshot_pointer&)`. 503 when the files cannot be read; `what` names what is missing then: "The
/// server's values".
template <class Make>
void answer_from_snapshot(server_model& model, const std::shared_ptr<call>& request,
                          const char* what, Make make) {
    model.read([request, what, make = std::move(make)](const snapshot_pointer& server) {
        request->respond(server == nullptr
                             ? unavailable_answer(std::string(what) + " cannot be read.")
                             : make(server));
    });
}

/// Answers with what `work` returns on the thread that waits for the settings service; 503 when too
/// many requests wait there. Until then a deferred operation can be cancelled.
void answer_from_service(server_model& model, const std::shared_ptr<call>& request,
                         std::function<answer(dp_service::settings_client&)> work);

}  // namespace dp_redfish

#endif
