#ifndef DP_REDFISH_RESOURCES_SETTINGS_CHANGE_HPP
#define DP_REDFISH_RESOURCES_SETTINGS_CHANGE_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "redfish/model/server_snapshot.hpp"
#include "redfish/protocol/messages.hpp"
#include "service_api/settings_client.hpp"
#include "support/json.hpp"

namespace dp_redfish {

/// What a change of settings requests from the settings service.
struct settings_change {
    std::vector<message> problems;  ///< why it is not possible; nothing may be requested then
    std::vector<dp_service::settings_client::change> commands;
    std::vector<std::size_t> settings;  ///< of the commands, positions in the catalog
};

/// Plans to give settings the values of the members of `attributes`, an object at "/Attributes" of
/// a request. All are checked: names, types, limits, and together the dependencies of the registry.
/// Settings that have their value already need no command.
settings_change plan_change(const server_snapshot& server,
                            const dp_support::json_value& attributes);

/// Plans to give all settings that can be changed their default values.
settings_change plan_reset(const server_snapshot& server);

/// The commands that give the settings of a change the pending values that they had.
std::vector<dp_service::settings_client::change> undo_commands(const server_snapshot& before,
                                                               const settings_change& change);

/// Why a setting does not get a value, from a status of the settings service other than 0. `value`
/// is what was requested, and `reason` what the service says in addition. A secret value is not in
/// the message.
message refusal_message(std::int32_t status, const server_setting& setting,
                        const std::string& value, const std::string& reason);

}  // namespace dp_redfish

#endif
