#ifndef DP_REDFISH_MODEL_SERVER_SNAPSHOT_HPP
#define DP_REDFISH_MODEL_SERVER_SNAPSHOT_HPP

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "redfish/model/change_log.hpp"
#include "redfish/model/watched_files.hpp"
#include "service_api/attribute_copy.hpp"
#include "service_api/attribute_registry.hpp"

namespace dp_redfish {

/// A setting of the server: an attribute of the BIOS, or one instance of it.
struct server_setting {
    std::string name;       ///< as a member of "Attributes": unique, letters, digits and "_"
    std::string full_name;  ///< COLLECTION.ATTRIBUTE[.INSTANCE]
    std::string instance;   ///< empty: the attribute has none
    std::shared_ptr<const dp_service::attribute_copy> attribute;  ///< as the template has it
    std::optional<std::uint32_t> index;                           ///< in the registry
    dp_service::registry_type type = dp_service::registry_type::string;
    bool is_secret = false;  ///< its value is never shown
    /// The registry decides whether it is read-only, and not the template.
    bool is_read_only_by_dependency = false;
};

/// The settings of a server and what describes them. Never changes.
struct settings_catalog {
    std::vector<server_setting> settings;
    std::unordered_map<std::string, std::size_t> by_name;       ///< positions in `settings`
    std::unordered_map<std::string, std::size_t> by_full_name;  ///< the same
    /// Which settings there are depends on the values, because an attribute has very many
    /// instances.
    bool depends_on_values = false;

    /// The registry of the template; null when the server has none, or one of another template.
    std::shared_ptr<const dp_service::attribute_registry> registry;
    std::string registry_id;  ///< "BiosAttributeRegistry.1.0.0"
    std::string registry_language = "en";
    /// The AttributeRegistry resource: the one of the server, or one made from the template.
    std::shared_ptr<const std::string> registry_text;
    std::string version;  ///< of what describes the settings: a hash of the registry's text
};

/// What the server's files contained at one moment. Never changes; any thread may read it.
struct server_snapshot {
    file_states states{};  ///< of the files that it was read from
    std::shared_ptr<const settings_catalog> catalog;

    /// Values whole, by the position of their setting; nothing when the file has none.
    /// @{
    std::vector<std::optional<std::string>> pending;
    std::vector<std::optional<std::string>> current;
    /// @}

    /// The versions of the values, see `values_seal::version_of`; empty for a file that is missing
    /// or damaged.
    /// @{
    std::string pending_version;
    std::string current_version;
    /// @}

    /// The changes that the settings service made, oldest first.
    std::shared_ptr<const change_log> history;

    /// The server's vital product data, by key; only what is UTF-8.
    std::map<std::string, std::string> product_data;

    [[nodiscard]] const file_state& state_of(watched_file file) const {
        return states[static_cast<std::size_t>(file)];
    }
};

using snapshot_pointer = std::shared_ptr<const server_snapshot>;

}  // namespace dp_redfish

#endif
