#include "host/model/template_model.hpp"

#include <string>

#include "host/process/text_of.hpp"

namespace dp_host {
namespace {

constexpr const char* white_space = " \t\n\v\f\r";

bool is_word(const std::string& text) {
    return !text.empty() && text.find_first_of(white_space) == std::string::npos;
}

// Why batch lines cannot contain the attribute; null when they can.
const char* problem_with(const template_info& info) {
    if (!is_word(info.cfg) || info.cfg.find('.') != std::string::npos) {
        return "its collection is not a word without dots";
    }
    if (!is_word(info.id)) {
        return "its name is not a word";
    }
    // In a name without an instance, the text after the last dot would be read as an instance.
    if (info.mxi == 0 && info.id.find('.') != std::string::npos) {
        return "its name has a dot";
    }
    if (info.dft.find('\n') != std::string::npos || info.chc.find('\n') != std::string::npos) {
        return "its values contain newlines";
    }
    if (info.mxi > 0 && (info.mni > info.mxi || info.mxi >= dp::no_instance)) {
        return "its instance numbers are not a range";
    }
    return nullptr;
}

}  // namespace

template_configuration& template_model::configuration_of(const template_info& info) {
    const auto found = configuration_index_.find(info.cfg);
    if (found != configuration_index_.end()) {
        return *found->second;
    }
    configurations_.push_back(std::make_unique<template_configuration>(info.cfg));
    template_configuration& added = *configurations_.back();
    configuration_index_.emplace(added.name, &added);
    return added;
}

dp_support::result<std::unique_ptr<template_model>> template_model::make(
    const std::vector<template_info>& infos, dp::plugin* owner) {
    std::unique_ptr<template_model> model(new template_model);
    for (const auto& info : infos) {
        const char* problem = problem_with(info);
        if (problem == nullptr && model->find(info.cfg, info.id) != nullptr) {
            problem = "another attribute has its name";
        }
        if (problem != nullptr) {
            return dp_support::failure{text_of("attribute ", model->attributes_.size() + 1, " (",
                                               info.cfg, '.', info.id, "): ", problem)};
        }
        template_configuration& configuration = model->configuration_of(info);
        const auto& added = configuration.add(info, owner);
        dp::setting* const setting = added.setting.get();
        model->setting_index_[&configuration].emplace(setting->name, setting);
        model->positions_.emplace(setting, model->attributes_.size());
        model->attributes_.push_back({setting, added.element.get()});
    }
    return model;
}

dp::setting* template_model::find(std::string_view configuration_name,
                                  std::string_view setting_name) const {
    const auto configuration = configuration_index_.find(configuration_name);
    if (configuration == configuration_index_.end()) {
        return nullptr;
    }
    const auto& settings = setting_index_.at(configuration->second);
    const auto setting = settings.find(setting_name);
    return setting == settings.end() ? nullptr : setting->second;
}

std::size_t template_model::position_of(const dp::setting* s) const {
    const auto found = positions_.find(s);
    return found == positions_.end() ? npos : found->second;
}

}  // namespace dp_host
