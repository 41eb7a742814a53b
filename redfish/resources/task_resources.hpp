#ifndef DP_REDFISH_RESOURCES_TASK_RESOURCES_HPP
#define DP_REDFISH_RESOURCES_TASK_RESOURCES_HPP

#include "redfish/protocol/route_table.hpp"
#include "redfish/resources/task_store.hpp"

namespace dp_redfish {

/// Adds the service of tasks, the tasks and their monitors. The tasks must outlive the routes.
void add_task_routes(route_table& routes, task_store& tasks);

}  // namespace dp_redfish

#endif
