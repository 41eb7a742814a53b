#include "tools/dpctl/names/setting_selection.hpp"

#include <algorithm>
#include <unordered_set>
#include <utility>
#include <variant>

#include "tools/dpctl/names/name_lookup.hpp"

namespace dpctl {

std::vector<setting_ref> select_settings(catalog& names, const std::vector<std::string>& texts,
                                         bool all, report& rep) {
    std::vector<setting_ref> selected;
    std::unordered_set<std::string> known;
    const auto add = [&](std::vector<setting_ref> settings) {
        for (auto& setting : settings) {
            if (known.insert(setting.name()).second) {
                selected.push_back(std::move(setting));
            }
        }
    };
    const auto add_collection = [&](const std::string& name) {
        const auto found = names.find_collection(name);
        add(std::get<const collection_view*>(found)->settings_with_values());
    };
    const auto& collections = names.collections();
    if (all) {
        std::for_each(collections.begin(), collections.end(), add_collection);
        return selected;
    }
    for (const auto& text : texts) {
        if (std::find(collections.begin(), collections.end(), text) != collections.end()) {
            add_collection(text);
        } else {
            add(find_settings(names, text, rep));
        }
    }
    return selected;
}

}  // namespace dpctl
