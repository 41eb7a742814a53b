#ifndef DP_SETTINGS_PLUGIN_LIST_HPP
#define DP_SETTINGS_PLUGIN_LIST_HPP

#include <string>
#include <vector>

#include "common/export.hpp"
#include "settings/plugin.hpp"

namespace dp {

/// The plug-ins of a host, not owned, in registration order.
class DP_API plugin_list : public std::vector<plugin*> {
  public:
    using std::vector<plugin*>::vector;

    /// Returns the first plug-in with exactly that name and type, or null. `plugin::any_type`
    /// matches every type.
    [[nodiscard]] plugin* find_plugin(const std::string& name, plugin::types type) const;
};

}  // namespace dp

#endif
