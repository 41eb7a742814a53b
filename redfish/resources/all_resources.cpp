#include "redfish/resources/all_resources.hpp"

#include "redfish/resources/bios_resources.hpp"
#include "redfish/resources/log_resources.hpp"
#include "redfish/resources/manager_resources.hpp"
#include "redfish/resources/registry_resources.hpp"
#include "redfish/resources/root_resources.hpp"
#include "redfish/resources/system_resources.hpp"

namespace dp_redfish {

void add_server_routes(route_table& routes, server_model& model, const service_info& info) {
    add_root_routes(routes, info);
    add_system_routes(routes, model);
    add_bios_routes(routes, model);
    add_log_routes(routes, model);
    add_manager_routes(routes, info);
    add_registry_routes(routes, model);
}

}  // namespace dp_redfish
