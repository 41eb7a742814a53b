#ifndef DP_SETTINGS_PLUGIN_LIST_HPP
#define DP_SETTINGS_PLUGIN_LIST_HPP

#include <string>
#include <vector>

#include "common/export.hpp"
#include "settings/plugin.hpp"

namespace dp {

/// The plug-ins of a host in registration order. Owns none of them.
class DP_API plugin_list : public std::vector<plugin*> {
  public:
    using std::vector<plugin*>::vector;

    /// The first plug-in of that exact name and type (`plugin::any_type`: of any type); null when
    /// there is none.
    [[nodiscard]] plugin* find_plugin(const std::string& name, plugin::types type) const;
};

}  // namespace dp

#endif
