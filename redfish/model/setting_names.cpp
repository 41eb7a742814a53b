#include "redfish/model/setting_names.hpp"

#include <algorithm>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace dp_redfish {
namespace {

bool is_letter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// A name of at least two characters, which begins with a letter.
std::string permitted_name(std::string name) {
    std::replace_if(
        name.begin(), name.end(),
        [](char c) { return !is_letter(c) && !(c >= '0' && c <= '9') && c != '_'; }, '_');
    if (name.empty() || !is_letter(name.front())) {
        name.insert(0, "A_");
    }
    return name.size() == 1 ? name + '_' : name;
}

}  // namespace

void name_settings(settings_catalog& catalog) {
    // The collections of each attribute's name: whether there is more than one.
    std::unordered_map<std::string_view, std::string_view> collection_of;
    std::unordered_set<std::string_view> is_shared;
    for (const auto& setting : catalog.settings) {
        const dp_attribute& attribute = setting.attribute->get();
        const auto [known, is_new] = collection_of.try_emplace(attribute.id, attribute.cfg);
        if (!is_new && known->second != attribute.cfg) {
            is_shared.insert(attribute.id);
        }
    }
    catalog.by_name.clear();
    catalog.by_name.reserve(catalog.settings.size());
    catalog.by_full_name.clear();
    catalog.by_full_name.reserve(catalog.settings.size());
    for (std::size_t i = 0; i < catalog.settings.size(); ++i) {
        server_setting& setting = catalog.settings[i];
        const dp_attribute& attribute = setting.attribute->get();
        catalog.by_full_name.try_emplace(setting.full_name, i);
        std::string name = attribute.id;
        if (is_shared.contains(attribute.id)) {
            name.insert(0, std::string(attribute.cfg) + '_');
        }
        if (!setting.instance.empty()) {
            name += '_' + setting.instance;
        }
        // The names of a registry are those that its clients know.
        if (!setting.index) {
            name = permitted_name(std::move(name));
        }
        setting.name = name;
        for (unsigned number = 2; !catalog.by_name.try_emplace(setting.name, i).second; ++number) {
            setting.name = name + '_' + std::to_string(number);
        }
    }
}

}  // namespace dp_redfish
