#ifndef DP_TOOLS_DPCTL_VALUES_REGISTRY_STATE_HPP
#define DP_TOOLS_DPCTL_VALUES_REGISTRY_STATE_HPP

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "service_api/attribute_registry.hpp"
#include "service_api/registry_dependencies.hpp"
#include "tools/dpctl/names/catalog.hpp"

namespace dpctl {

class report;
class session;

/// The registry of the template, and its dependencies evaluated on the pending values. A server may
/// have none: then there are no dependencies. One thread uses an object.
class registry_state {
  public:
    /// Reads the registry: the file that the command line names, otherwise that of the server,
    /// which belongs to no other template than the server's own. `rep` gets a note when there is
    /// one that cannot be used: it cannot be read, is damaged, or has other attributes than the
    /// template. Throws std::runtime_error when that file was named.
    ///
    /// Reads the pending values of all settings. The version of the pending values is read before.
    registry_state(session& service, catalog& names, report& rep);

    /// `registry`, which has the attributes of `names`, with default values instead of pending
    /// ones. Throws std::runtime_error when it has other attributes.
    registry_state(dp_service::attribute_registry registry, catalog& names);

    /// Null when there is none.
    [[nodiscard]] const dp_service::attribute_registry* registry() const { return registry_.get(); }

    /// The index of a setting's attribute in the registry. Nothing without a registry, for an
    /// instance, and for a name that the registry has more than once.
    [[nodiscard]] std::optional<std::uint32_t> index_of(const setting_ref& setting) const;

    /// The setting's attribute in the registry, or null.
    [[nodiscard]] const dp_service::registry_attribute* find(const setting_ref& setting) const;

    /// The full name of the setting that has this index: COLLECTION.ATTRIBUTE.
    [[nodiscard]] const std::string& setting_name(std::uint32_t index) const {
        return setting_names_[index];
    }

    /// The dependencies with the pending values, with nothing to undo; null when there is no
    /// registry. Whoever changes values takes them back.
    [[nodiscard]] dp_service::registry_dependencies* rules() { return rules_.get(); }
    [[nodiscard]] const dp_service::registry_dependencies* rules() const { return rules_.get(); }

  private:
    bool has_attributes_of(catalog& names);
    void load_pending_values(session& service);

    std::unique_ptr<const dp_service::attribute_registry> registry_;
    std::vector<std::string> setting_names_;  // by index; empty: the name is not unique
    std::unique_ptr<dp_service::registry_dependencies> rules_;
};

}  // namespace dpctl

#endif
