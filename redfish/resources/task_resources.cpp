#include "redfish/resources/task_resources.hpp"

#include <memory>

#include "redfish/protocol/call.hpp"
#include "redfish/resources/resource_json.hpp"
#include "redfish/resources/resource_paths.hpp"
#include "support/json.hpp"

namespace dp_redfish {

void add_task_routes(route_table& routes) {
    using dp_support::json_value;
    routes.add("GET", resource_paths::task_service, privileges::login,
               [](const std::shared_ptr<call>& request) {
                   json_value body = start_resource(resource_paths::task_service, "TaskService",
                                                    "TaskService", "Task Service");
                   body.set("ServiceEnabled", true);
                   body.set("Status", json_value::object({{"State", "Enabled"}, {"Health", "OK"}}));
                   body.set("Tasks", reference(resource_paths::tasks));
                   request->respond({.body = body});
               });
    routes.add("GET", resource_paths::tasks, privileges::login,
               [](const std::shared_ptr<call>& request) {
                   request->respond({.body = collection_resource(resource_paths::tasks,
                                                                 "TaskCollection", "Tasks", {})});
               });
}

}  // namespace dp_redfish
