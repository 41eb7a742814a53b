#include "host/model/attribute_mapping.hpp"

#include "settings/configuration.hpp"

namespace dp_host {

attribute_mapping::attribute_mapping(const template_model& before, const template_model& after)
    : before_(before), after_(after), only_before_(index(before)), only_after_(index(after)) {}

attribute_mapping::only_attributes attribute_mapping::index(const template_model& model) {
    only_attributes only;
    for (const auto& attribute : model.attributes()) {
        const auto [found, is_new] = only.try_emplace(attribute.setting->name, attribute.setting);
        if (!is_new) {
            found->second = nullptr;
        }
    }
    return only;
}

dp::setting* attribute_mapping::find(const dp::setting& s, const only_attributes& own,
                                     const template_model& model, const only_attributes& other) {
    if (dp::setting* const same = model.find(s.configuration->name, s.name); same != nullptr) {
        return same;
    }
    const auto here = own.find(s.name);
    const auto there = other.find(s.name);
    const bool is_only = here != own.end() && here->second == &s;
    return is_only && there != other.end() ? there->second : nullptr;
}

dp::setting* attribute_mapping::after(const dp::setting& s) const {
    return find(s, only_before_, after_, only_after_);
}

dp::setting* attribute_mapping::before(const dp::setting& s) const {
    return find(s, only_after_, before_, only_before_);
}

}  // namespace dp_host
