#ifndef DP_TOOLS_DPCTL_VALUES_DEPENDENCY_INDEX_HPP
#define DP_TOOLS_DPCTL_VALUES_DEPENDENCY_INDEX_HPP

#include <cstdint>
#include <set>
#include <vector>

#include "service_api/attribute_registry.hpp"

namespace dpctl {

/// The attributes that the condition of a dependency reads.
std::set<std::uint32_t> attributes_read(const dp_service::registry_map& map);

/// The dependencies of a registry by their attributes, in the registry's order.
class dependency_index {
  public:
    using map_list = std::vector<const dp_service::registry_map*>;

    /// `registry` must outlive the index.
    explicit dependency_index(const dp_service::attribute_registry& registry);

    /// Those that change the attribute.
    [[nodiscard]] const map_list& changing(std::uint32_t attribute) const {
        return changing_[attribute];
    }

    /// Those of other attributes that the attribute decides about: the condition reads it, or its
    /// change makes the dependency act.
    [[nodiscard]] const map_list& decided_by(std::uint32_t attribute) const {
        return decided_by_[attribute];
    }

  private:
    std::vector<map_list> changing_;
    std::vector<map_list> decided_by_;
};

}  // namespace dpctl

#endif
