#ifndef DP_TOOLS_DPCTL_VALUES_SETUP_VIEW_HPP
#define DP_TOOLS_DPCTL_VALUES_SETUP_VIEW_HPP

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "tools/dpctl/names/registry_menus.hpp"
#include "tools/dpctl/values/registry_state.hpp"

namespace dpctl {

/// What the setup screens show of settings: the registry with its dependencies on the pending
/// values. Without a registry, and for a setting that it does not describe, only what the template
/// says.
class setup_view {
  public:
    /// As `registry_state`.
    setup_view(session& service, catalog& names, report& rep);

    [[nodiscard]] const registry_state& state() const { return state_; }

    /// Whether there are menus, so that lists have their order.
    [[nodiscard]] bool has_menus() const { return menus_ != nullptr; }

    /// The position on the setup screens; those that the registry does not describe are last.
    [[nodiscard]] std::size_t position(const setting_ref& setting) const;

    /// The titles of its menus, "Setup > Boot"; empty without one.
    [[nodiscard]] std::string menu(const setting_ref& setting) const;

    /// A text of the registry, as its display name; empty without one.
    [[nodiscard]] std::string text(const setting_ref& setting,
                                   dp_service::registry_property which) const;

    /// A flag of the registry; false without one.
    [[nodiscard]] bool flag(const setting_ref& setting, dp_service::registry_property which) const;

    /// A number of the registry; nothing without one.
    [[nodiscard]] std::optional<std::int64_t> number(const setting_ref& setting,
                                                     dp_service::registry_property which) const;

    /// Whether it is hidden itself, or one of its menus is.
    [[nodiscard]] bool is_hidden(const setting_ref& setting) const;

    /// Why it cannot be changed now: "read-only", or "read-only because Profile is not Custom".
    /// Empty when it can be.
    [[nodiscard]] std::string why_read_only(const setting_ref& setting) const;

  private:
    [[nodiscard]] const dp_service::registry_value* find(const setting_ref& setting,
                                                         dp_service::registry_property which) const;

    registry_state state_;
    std::unique_ptr<const registry_menus> menus_;  // null without a registry
};

}  // namespace dpctl

#endif
