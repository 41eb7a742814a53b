#include "redfish/resources/schemas.hpp"

#include <algorithm>
#include <array>

namespace dp_redfish {
namespace {

constexpr std::array all_schemas = std::to_array<used_schema>({
    {"AccountService", "v1_18_1"},
    {"AttributeRegistry", "v1_5_0"},
    {"Bios", "v1_2_3"},
    {"ComputerSystem", "v1_27_0"},
    {"ComputerSystemCollection", ""},
    {"Event", "v1_13_0"},
    {"EventDestination", "v1_16_0"},
    {"EventDestinationCollection", ""},
    {"EventService", "v1_12_0"},
    {"JsonSchemaFile", "v1_1_5"},
    {"JsonSchemaFileCollection", ""},
    {"LogEntry", "v1_21_0"},
    {"LogEntryCollection", ""},
    {"LogService", "v1_9_0"},
    {"LogServiceCollection", ""},
    {"Manager", "v1_24_0"},
    {"ManagerAccount", "v1_14_1"},
    {"ManagerAccountCollection", ""},
    {"ManagerCollection", ""},
    {"Message", "v1_3_0"},
    {"MessageRegistry", "v1_7_0"},
    {"MessageRegistryFile", "v1_1_5"},
    {"MessageRegistryFileCollection", ""},
    {"Role", "v1_3_3"},
    {"RoleCollection", ""},
    {"ServiceRoot", "v1_20_0"},
    {"Session", "v1_8_0"},
    {"SessionCollection", ""},
    {"SessionService", "v1_2_0"},
    {"Settings", "v1_4_0"},
    {"Task", "v1_7_4"},
    {"TaskCollection", ""},
    {"TaskService", "v1_3_0"},
});

// "Bios.v1_2_3", or "TaskCollection".
std::string versioned_name(std::string_view schema) {
    const auto* const found =
        std::find_if(all_schemas.begin(), all_schemas.end(),
                     [&](const used_schema& known) { return known.name == schema; });
    std::string name(schema);
    if (found != all_schemas.end() && !found->version.empty()) {
        name += '.';
        name += found->version;
    }
    return name;
}

}  // namespace

std::span<const used_schema> used_schemas() {
    return all_schemas;
}

std::vector<std::string> attribute_registry_versions() {
    // By the minor version: the last correction.
    constexpr std::array<int, 6> last_corrections{14, 13, 11, 9, 0, 0};
    std::vector<std::string> versions;
    int minor = 0;
    for (const int last : last_corrections) {
        for (int correction = 0; correction <= last; ++correction) {
            versions.push_back("v1_" + std::to_string(minor) + '_' + std::to_string(correction));
        }
        ++minor;
    }
    return versions;
}

std::string odata_type(std::string_view schema) {
    return '#' + versioned_name(schema) + '.' + std::string(schema);
}

std::string schema_link(std::string_view schema) {
    return "<http://redfish.dmtf.org/schemas/v1/" + versioned_name(schema) +
           ".json>; rel=describedby";
}

}  // namespace dp_redfish
