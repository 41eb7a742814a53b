#ifndef DP_HOST_MODEL_TEMPLATE_MODEL_HPP
#define DP_HOST_MODEL_TEMPLATE_MODEL_HPP

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "bios/template_info.hpp"
#include "settings/plugin.hpp"
#include "settings/setting.hpp"
#include "host/model/template_configuration.hpp"
#include "host/model/template_element.hpp"

namespace dp_host {

/// The configurations, settings and elements that a template describes, built once and owned here.
class template_model {
  public:
    /// One attribute, in the template's order.
    struct attribute {
        dp::setting* setting;
        template_element* element;
    };

    /// Builds the model of `infos`; `owner` will own every setting. Null, with the reason in
    /// `problem`, when an attribute's names or values are none that batch lines can carry, or two
    /// attributes have the same name: nobody could address them.
    static std::unique_ptr<template_model> make(const std::vector<template_info>& infos,
                                                dp::plugin* owner, std::string& problem);

    template_model(const template_model&) = delete;
    template_model& operator=(const template_model&) = delete;

    [[nodiscard]] const std::vector<std::unique_ptr<template_configuration>>& configurations()
        const {
        return configurations_;
    }
    [[nodiscard]] const std::vector<attribute>& attributes() const { return attributes_; }

    /// The setting of that name, or null.
    [[nodiscard]] dp::setting* find(std::string_view configuration_name,
                                    std::string_view setting_name) const;

    /// The position of one of its settings in `attributes`; npos for any other.
    [[nodiscard]] std::size_t position_of(const dp::setting* s) const;
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

  private:
    using names = std::unordered_map<std::string_view, dp::setting*>;

    template_model() = default;
    template_configuration& configuration_of(const template_info& info);

    std::vector<std::unique_ptr<template_configuration>> configurations_;
    std::vector<attribute> attributes_;
    // Keys are the names inside the configurations and settings.
    std::unordered_map<std::string_view, template_configuration*> configuration_index_;
    std::unordered_map<const template_configuration*, names> setting_index_;
    std::unordered_map<const dp::setting*, std::size_t> positions_;
};

}  // namespace dp_host

#endif
