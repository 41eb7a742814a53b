#ifndef DP_TOOLS_DPCTL_NAMES_REGISTRY_MENUS_HPP
#define DP_TOOLS_DPCTL_NAMES_REGISTRY_MENUS_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "service_api/registry_dependencies.hpp"

namespace dpctl {

/// The order of a registry's attributes on the setup screens, and the titles of their menus. A menu
/// comes before the menus below it; menus and attributes beside each other have the order of their
/// DisplayOrder, those without one last, and otherwise that of the registry.
class registry_menus {
  public:
    /// The values in `rules`, whose registry it is, determine the attributes' DisplayOrder.
    registry_menus(const dp_service::attribute_registry& registry,
                   const dp_service::registry_dependencies& rules);

    /// The position of an attribute among all.
    [[nodiscard]] std::size_t position(std::uint32_t attribute) const {
        return positions_[attribute];
    }

    /// The display names of an attribute's menus, "Setup > Boot"; empty for an attribute without a
    /// menu.
    [[nodiscard]] const std::string& title(std::uint32_t attribute) const {
        return menus_[menu_of_[attribute]].title;
    }

    /// Whether one of an attribute's menus is hidden.
    [[nodiscard]] bool is_hidden(std::uint32_t attribute) const {
        return menus_[menu_of_[attribute]].is_hidden;
    }

  private:
    struct menu {
        std::string title;
        bool is_hidden = false;
        std::int64_t order = INT64_MAX;
        std::vector<std::size_t> below;
        std::size_t rank = 0;  // in the order of the screens
    };
    class builder;

    std::vector<menu> menus_;  // the first has no title
    std::vector<std::size_t> menu_of_;
    std::vector<std::size_t> positions_;
};

}  // namespace dpctl

#endif
