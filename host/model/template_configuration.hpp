#ifndef DP_HOST_MODEL_TEMPLATE_CONFIGURATION_HPP
#define DP_HOST_MODEL_TEMPLATE_CONFIGURATION_HPP

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bios/template_info.hpp"
#include "host/model/template_element.hpp"
#include "settings/configuration.hpp"
#include "settings/plugin.hpp"
#include "settings/setting.hpp"

namespace dp_host {

/// A collection of a template's attributes. Owns its settings and their elements.
class template_configuration final : public dp::configuration {
  public:
    explicit template_configuration(std::string configuration_name)
        : dp::configuration(std::move(configuration_name)) {}

    struct member {
        std::unique_ptr<template_element> element;
        std::unique_ptr<dp::setting> setting;
    };

    /// Adds the setting of an attribute, and adds it to its setting record if it has one. No
    /// setting may have its name yet. The result is valid until the next call; its pointees are
    /// valid as long as the configuration.
    const member& add(const template_info& info, dp::plugin* owner);

  private:
    std::vector<member> members_;
};

}  // namespace dp_host

#endif
