#include "redfish/resources/task_resources.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "redfish/protocol/call.hpp"
#include "redfish/protocol/http_status.hpp"
#include "redfish/protocol/messages.hpp"
#include "redfish/protocol/standard_answers.hpp"
#include "redfish/resources/resource_json.hpp"
#include "redfish/resources/resource_paths.hpp"
#include "support/json.hpp"

namespace dp_redfish {
namespace {

using dp_support::json_value;

json_value task_service_json() {
    json_value body =
        start_resource(resource_paths::task_service, "TaskService", "TaskService", "Task Service");
    body.set("Description", "Operations that clients do not wait for");
    body.set("ServiceEnabled", true);
    body.set("Status", json_value::object({{"State", "Enabled"}, {"Health", "OK"}}));
    body.set("DateTime", time_now_text());
    body.set("CompletedTaskOverWritePolicy", "Oldest");
    body.set("LifeCycleEventOnTaskStateChange", true);
    body.set("TaskAutoDeleteTimeoutMinutes",
             static_cast<std::int64_t>(task_store::options().kept.count()));
    body.set("Tasks", reference(resource_paths::tasks));
    return body;
}

bool may_see_task(const identity& caller, const deferred_task& task) {
    return caller.user == task.owner.user ||
           has_privilege(caller.role, privileges::configure_manager);
}

answer tasks_answer(task_store& tasks, const identity& caller) {
    std::vector<std::string> paths;
    for (const auto& task : tasks.list()) {
        if (may_see_task(caller, *task)) {
            paths.push_back(task_path(*task));
        }
    }
    return {.body = collection_resource(resource_paths::tasks, "TaskCollection", "Tasks", paths)};
}

// The task that a request names, if its caller may see it; null otherwise.
task_pointer wanted_task(task_store& tasks, const call& request) {
    task_pointer task = tasks.find(request.parameters.front());
    return task != nullptr && may_see_task(request.caller, *task) ? task : nullptr;
}

answer task_answer(task_store& tasks, const call& request,
                   const std::function<answer(const deferred_task&)>& make) {
    const task_pointer task = wanted_task(tasks, request);
    return task == nullptr ? not_found_answer("Task", request.parameters.front()) : make(*task);
}

answer remove_task(task_store& tasks, const call& request) {
    return task_answer(tasks, request, [&](const deferred_task& task) {
        const std::string id = std::to_string(task.id);
        if (tasks.remove(id)) {
            return no_content_answer();
        }
        return tasks.find(id) == nullptr
                   ? not_found_answer("Task", id)
                   : error_answer(http_status::conflict,
                                  {{"ResourceInUse",
                                    {},
                                    {},
                                    "An operation that has begun cannot be cancelled."}});
    });
}

}  // namespace

void add_task_routes(route_table& routes, task_store& tasks) {
    routes.add("GET", resource_paths::task_service, privileges::login,
               [](const std::shared_ptr<call>& request) {
                   request->respond({.body = task_service_json()});
               });
    routes.add("GET", resource_paths::tasks, privileges::login,
               [&tasks](const std::shared_ptr<call>& request) {
                   request->respond(tasks_answer(tasks, request->caller));
               });
    const std::string one_task = std::string(resource_paths::tasks) + "/{}";
    const std::string one_monitor = std::string(resource_paths::task_monitors) + "/{}";
    routes.add("GET", one_task, privileges::login, [&tasks](const std::shared_ptr<call>& request) {
        request->respond(task_answer(tasks, *request, [](const deferred_task& task) {
            return answer{.body = task_json(task)};
        }));
    });
    routes.add("GET", one_monitor, privileges::login,
               [&tasks](const std::shared_ptr<call>& request) {
                   request->respond(task_answer(tasks, *request, task_monitor_answer));
               });
    for (const std::string& path : {one_task, one_monitor}) {
        routes.add("DELETE", path, privileges::configure_self,
                   [&tasks](const std::shared_ptr<call>& request) {
                       request->respond(remove_task(tasks, *request));
                   });
    }
}

}  // namespace dp_redfish
