#include "settings/plugin_list.hpp"

#include <algorithm>

namespace dp {

plugin* plugin_list::find_plugin(const std::string& name, plugin::types type) const {
    const auto found = std::find_if(begin(), end(), [&](const plugin* p) {
        return (type == plugin::any_type || p->type == type) && p->name == name;
    });
    return found == end() ? nullptr : *found;
}

}  // namespace dp
