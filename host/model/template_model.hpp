#ifndef DP_HOST_MODEL_TEMPLATE_MODEL_HPP
#define DP_HOST_MODEL_TEMPLATE_MODEL_HPP

#include <cstddef>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "bios/template_info.hpp"
#include "host/model/template_configuration.hpp"
#include "host/model/template_element.hpp"
#include "settings/plugin.hpp"
#include "settings/setting.hpp"
#include "support/result.hpp"

namespace dp_host {

/// The configurations, settings and elements that a template describes. Owns them; they never
/// change.
class template_model {
  public:
    /// One attribute of the template. Both are owned by the model.
    struct attribute {
        dp::setting* setting;
        template_element* element;
    };

    /// The model of `infos`, whose settings are all served by `owner` (not owned). Fails when an
    /// attribute's name or values cannot be written in a batch line, or when two attributes have
    /// the same name.
    static dp_support::result<std::unique_ptr<template_model>> make(
        const std::vector<template_info>& infos, dp::plugin* owner);

    template_model(const template_model&) = delete;
    template_model& operator=(const template_model&) = delete;

    /// In the order of first appearance in the template.
    [[nodiscard]] const std::vector<std::unique_ptr<template_configuration>>& configurations()
        const {
        return configurations_;
    }

    /// In the template's order.
    [[nodiscard]] const std::vector<attribute>& attributes() const { return attributes_; }

    /// The setting of that name, or null. Takes constant time on average.
    [[nodiscard]] dp::setting* find(std::string_view configuration_name,
                                    std::string_view setting_name) const;

    /// The position in `attributes` of one of the model's settings; npos for any other, null
    /// included. Takes constant time on average.
    [[nodiscard]] std::size_t position_of(const dp::setting* s) const;
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

  private:
    using settings_by_name = std::unordered_map<std::string_view, dp::setting*>;

    template_model() = default;
    template_configuration& configuration_of(const template_info& info);

    std::vector<std::unique_ptr<template_configuration>> configurations_;
    std::vector<attribute> attributes_;
    // The keys refer to the names in the configurations and settings.
    std::unordered_map<std::string_view, template_configuration*> configuration_index_;
    std::unordered_map<const template_configuration*, settings_by_name> setting_index_;
    std::unordered_map<const dp::setting*, std::size_t> positions_;
};

}  // namespace dp_host

#endif
