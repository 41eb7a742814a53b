#ifndef DP_HOST_MODEL_TEMPLATE_REGISTRY_HPP
#define DP_HOST_MODEL_TEMPLATE_REGISTRY_HPP

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "host/model/template_model.hpp"
#include "host/model/value_store.hpp"
#include "service_api/attribute_registry.hpp"
#include "service_api/registry_dependencies.hpp"
#include "support/result.hpp"

namespace dp_host {

/// What the registry of a template says in addition to it: which values depend on others, and which
/// attributes need no restart. Only attributes without instances are looked at.
class template_registry {
  public:
    /// The registry in `text`, for `model`, which must outlive it. Fails when the text is none, or
    /// that of another template. Dependencies that set a value which the template does not allow
    /// are logged and ignored.
    static dp_support::result<std::unique_ptr<template_registry>> make(const std::string& text,
                                                                       const template_model& model);

    template_registry(const template_registry&) = delete;
    template_registry& operator=(const template_registry&) = delete;

    /// Gives the dependencies the pending values, without making any of them act.
    void load(const value_store& pending);

    /// The dependencies with the pending values.
    [[nodiscard]] dp_service::registry_dependencies& rules() { return *rules_; }

    /// The attribute of a setting; nothing when it has instances.
    [[nodiscard]] std::optional<std::uint32_t> attribute_of(const dp::setting& s) const;

    /// The value with the text `text` as the dependencies compare it.
    [[nodiscard]] dp_service::registry_value value_of(std::uint32_t attribute,
                                                      const std::string& text) const {
        return registry_.attributes[attribute].value_of_text(text);
    }

    /// The setting of an attribute.
    [[nodiscard]] dp::setting& setting_of(std::uint32_t attribute) const {
        return *model_.attributes()[attribute].setting;
    }

    /// Whether a dependency can change whether the attribute is read-only.
    [[nodiscard]] bool may_become_writable(std::uint32_t attribute) const;

    /// Whether a change of the setting becomes current only with a restart of the server.
    [[nodiscard]] bool is_restart_needed(const dp::setting& s) const;

  private:
    template_registry(dp_service::attribute_registry registry, const template_model& model);
    void remove_invalid_dependencies();

    dp_service::attribute_registry registry_;
    const template_model& model_;
    std::vector<bool> has_writability_;  // by attribute: dependencies change ReadOnly or Immutable
    std::optional<dp_service::registry_dependencies> rules_;
};

}  // namespace dp_host

#endif
