#ifndef DP_REDFISH_RESOURCES_RESOURCE_PATHS_HPP
#define DP_REDFISH_RESOURCES_RESOURCE_PATHS_HPP

/// The paths of the resources that others refer to.
namespace dp_redfish::resource_paths {

inline constexpr const char* root = "/redfish/v1/";
inline constexpr const char* systems = "/redfish/v1/Systems";
inline constexpr const char* system = "/redfish/v1/Systems/system";
inline constexpr const char* bios = "/redfish/v1/Systems/system/Bios";
inline constexpr const char* bios_settings = "/redfish/v1/Systems/system/Bios/Settings";
inline constexpr const char* log_services = "/redfish/v1/Systems/system/LogServices";
inline constexpr const char* change_log = "/redfish/v1/Systems/system/LogServices/Changes";
inline constexpr const char* change_log_entries =
    "/redfish/v1/Systems/system/LogServices/Changes/Entries";
inline constexpr const char* managers = "/redfish/v1/Managers";
inline constexpr const char* manager = "/redfish/v1/Managers/bmc";
inline constexpr const char* registries = "/redfish/v1/Registries";
inline constexpr const char* json_schemas = "/redfish/v1/JsonSchemas";
inline constexpr const char* task_service = "/redfish/v1/TaskService";
inline constexpr const char* tasks = "/redfish/v1/TaskService/Tasks";
inline constexpr const char* task_monitors = "/redfish/v1/TaskService/TaskMonitors";
inline constexpr const char* event_service = "/redfish/v1/EventService";
inline constexpr const char* event_stream = "/redfish/v1/EventService/SSE";
inline constexpr const char* event_subscriptions = "/redfish/v1/EventService/Subscriptions";
inline constexpr const char* session_service = "/redfish/v1/SessionService";
inline constexpr const char* sessions = "/redfish/v1/SessionService/Sessions";
inline constexpr const char* account_service = "/redfish/v1/AccountService";

}  // namespace dp_redfish::resource_paths

#endif
