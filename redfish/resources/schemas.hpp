#ifndef DP_REDFISH_RESOURCES_SCHEMAS_HPP
#define DP_REDFISH_RESOURCES_SCHEMAS_HPP

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace dp_redfish {

/// A schema that the service's resources have.
struct used_schema {
    std::string_view name;     ///< "Bios"
    std::string_view version;  ///< "v1_2_3"; empty for a collection
};

/// All of them, sorted by name.
std::span<const used_schema> used_schemas();

/// The versions of the schema AttributeRegistry, of which an installed registry has any: "v1_3_6".
std::vector<std::string> attribute_registry_versions();

/// "@odata.type" of a resource of this schema: "#Bios.v1_2_3.Bios". The schema is one of
/// `used_schemas`.
std::string odata_type(std::string_view schema);

/// The value of the Link field of a resource of this schema.
std::string schema_link(std::string_view schema);

}  // namespace dp_redfish

#endif
