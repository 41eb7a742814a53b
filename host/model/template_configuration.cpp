#include "host/model/template_configuration.hpp"

#include "host/model/make_template_element.hpp"

namespace dp_host {

const template_configuration::member& template_configuration::add(const template_info& info,
                                                                  dp::plugin* owner) {
    auto element = make_template_element(info);
    auto setting = std::make_unique<dp::setting>(this, info.id, owner, element.get());
    add_setting(setting.get());
    if (!element->record_name.empty()) {
        records[element->record_name].settings.push_back(setting.get());
    }
    members_.push_back({std::move(element), std::move(setting)});
    return members_.back();
}

}  // namespace dp_host
