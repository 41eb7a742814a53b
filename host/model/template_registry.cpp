#include "host/model/template_registry.hpp"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "host/process/service_log.hpp"
#include "settings/configuration.hpp"

namespace dp_host {
namespace {

using dp_service::registry_map;
using dp_service::registry_property;

constexpr std::size_t most_logged_dependencies = 20;

// Whether a line of a file of values can have the value.
bool is_storable(const std::string& value) {
    constexpr std::size_t longest = std::size_t{16} * 1024;
    return value.size() <= longest &&
           value.find_first_of(std::string_view("\n\0", 2)) == std::string::npos;
}

}  // namespace

dp_support::result<std::unique_ptr<template_registry>> template_registry::make(
    const std::string& text, const template_model& model) {
    auto registry = dp_service::parse_attribute_registry(text);
    if (!registry) {
        return registry.error();
    }
    std::vector<std::string> names;
    names.reserve(model.attributes().size());
    for (const auto& attribute : model.attributes()) {
        names.push_back(attribute.setting->name);
    }
    if (!registry->belongs_to(names)) {
        return dp_support::failure{"it is the registry of another template"};
    }
    return std::unique_ptr<template_registry>(new template_registry(*std::move(registry), model));
}

template_registry::template_registry(dp_service::attribute_registry registry,
                                     const template_model& model)
    : registry_(std::move(registry)),
      model_(model),
      has_writability_(registry_.attributes.size(), false) {
    remove_invalid_dependencies();
    for (const registry_map& map : registry_.maps) {
        if (map.property == registry_property::read_only ||
            map.property == registry_property::immutable) {
            has_writability_[map.attribute] = true;
            model_.attributes()[map.attribute].element->leave_read_only_to_owner();
        }
    }
    rules_.emplace(registry_);
}

// The values of settings are limited by the template: only such values can be stored.
void template_registry::remove_invalid_dependencies() {
    std::size_t removed = 0;
    const auto is_invalid = [&](const registry_map& map) {
        if (map.property != registry_property::current_value) {
            return false;
        }
        template_element& element = *model_.attributes()[map.attribute].element;
        std::string value = dp_service::setting_text(map.value);
        if (element.is_single_valued() && is_storable(value) && element.map_value(&value) &&
            value == dp_service::setting_text(map.value) && element.is_valid(value)) {
            return false;
        }
        if (++removed <= most_logged_dependencies) {
            const dp::setting& setting = setting_of(map.attribute);
            log_error("the registry's dependency ", map.position,
                      " is ignored: ", setting.configuration->name, '.', setting.name,
                      " cannot have the value that it gives");
        }
        return true;
    };
    registry_.maps.erase(std::remove_if(registry_.maps.begin(), registry_.maps.end(), is_invalid),
                         registry_.maps.end());
    if (removed > most_logged_dependencies) {
        log_error("in all ", removed, " dependencies of the registry are ignored");
    }
}

void template_registry::load(const value_store& pending) {
    std::vector<dp_service::registry_dependencies::assignment> values;
    values.reserve(registry_.attributes.size());
    pending.for_each([&](value_store::key at, const std::string& text) {
        if (const auto attribute = attribute_of(*at.setting)) {
            values.push_back({*attribute, value_of(*attribute, text)});
        }
    });
    rules_->load(values);
    rules_->keep();
}

std::optional<std::uint32_t> template_registry::attribute_of(const dp::setting& s) const {
    const std::size_t position = model_.position_of(&s);
    if (position == template_model::npos ||
        !model_.attributes()[position].element->is_single_valued()) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(position);
}

bool template_registry::may_become_writable(std::uint32_t attribute) const {
    return has_writability_[attribute];
}

bool template_registry::is_restart_needed(const dp::setting& s) const {
    const auto attribute = attribute_of(s);
    return !attribute || registry_.attributes[*attribute].reset_required;
}

}  // namespace dp_host
