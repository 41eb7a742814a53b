#include "redfish/resources/model_answers.hpp"

#include <utility>

namespace dp_redfish {

void answer_from_service(server_model& model, const std::shared_ptr<call>& request,
                         std::function<answer(dp_service::settings_client&)> work) {
    const bool is_posted =
        model.change([request, work = std::move(work)](dp_service::settings_client& client) {
            if (request->begin && !request->begin()) {
                return;
            }
            // The settings service sees one client: this process.
            client.on_behalf_of = request->caller.user;
            request->respond(work(client));
        });
    if (!is_posted) {
        request->respond(unavailable_answer("Too many requests wait for the settings service."));
    }
}

}  // namespace dp_redfish
