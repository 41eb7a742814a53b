#include "tools/dpctl/names/collection_view.hpp"

#include <algorithm>
#include <utility>

namespace dpctl {
namespace {

// The part of a setting's full name after "COLLECTION.".
std::string_view inner_name(std::string_view full_name) {
    const std::size_t dot = full_name.find('.');
    return dot == std::string_view::npos ? std::string_view() : full_name.substr(dot + 1);
}

}  // namespace

std::string setting_ref::name() const {
    std::string text = collection->name() + '.' + attribute->id;
    if (!instance.empty()) {
        text += '.' + instance;
    }
    return text;
}

std::vector<std::string> names_of(const std::vector<setting_ref>& settings) {
    std::vector<std::string> names;
    names.reserve(settings.size());
    for (const auto& setting : settings) {
        names.push_back(setting.name());
    }
    return names;
}

std::vector<setting_ref> setting_ref::all() const {
    return instance.empty() ? collection->settings_of(*attribute) : std::vector{*this};
}

collection_view::collection_view(std::string name, std::span<const dp_attribute> attributes,
                                 std::span<const char* const> setting_names)
    : name_(std::move(name)),
      attributes_(attributes),
      setting_names_(setting_names),
      instances_(attributes.size()) {
    index_.reserve(attributes_.size());
    for (std::size_t i = 0; i < attributes_.size(); ++i) {
        index_.emplace(attributes_[i].id, i);
    }
    for (const char* const full_name : setting_names_) {
        const std::string_view text = inner_name(full_name);
        if (const auto setting = find(text)) {
            const auto position = static_cast<std::size_t>(setting->attribute - attributes_.data());
            instances_[position].push_back(text.substr(text.size() - setting->instance.size()));
        }
    }
}

std::optional<setting_ref> collection_view::find(std::string_view text) const {
    if (text.empty()) {
        return std::nullopt;
    }
    const std::size_t dot = text.rfind('.');
    if (dot != std::string_view::npos && dot + 1 != text.size()) {
        const auto found = index_.find(text.substr(0, dot));
        if (found != index_.end()) {
            return setting_ref{this, &attributes_[found->second],
                               std::string(text.substr(dot + 1))};
        }
    }
    const auto found = index_.find(text);
    if (found == index_.end()) {
        return std::nullopt;
    }
    return setting_ref{this, &attributes_[found->second], {}};
}

const std::vector<std::string_view>& collection_view::instances_of(
    const dp_attribute& attribute) const {
    return instances_[static_cast<std::size_t>(&attribute - attributes_.data())];
}

std::vector<setting_ref> collection_view::settings_of(const dp_attribute& attribute) const {
    std::vector<setting_ref> settings;
    for (const std::string_view instance : instances_of(attribute)) {
        settings.push_back({this, &attribute, std::string(instance)});
    }
    if (settings.empty()) {
        settings.push_back({this, &attribute, {}});
    }
    return settings;
}

bool collection_view::has_only_instances(const dp_attribute& attribute) const {
    const auto& instances = instances_of(attribute);
    return !instances.empty() &&
           std::none_of(instances.begin(), instances.end(),
                        [](std::string_view instance) { return instance.empty(); });
}

std::vector<setting_ref> collection_view::settings() const {
    std::vector<setting_ref> all;
    all.reserve(std::max(attributes_.size(), setting_names_.size()));
    for (const dp_attribute& attribute : attributes_) {
        for (setting_ref& setting : settings_of(attribute)) {
            all.push_back(std::move(setting));
        }
    }
    return all;
}

std::vector<setting_ref> collection_view::settings_with_values() const {
    std::vector<setting_ref> all;
    all.reserve(setting_names_.size());
    for (const char* const full_name : setting_names_) {
        if (auto setting = find(inner_name(full_name))) {
            all.push_back(std::move(*setting));
        }
    }
    return all;
}

}  // namespace dpctl
