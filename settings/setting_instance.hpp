#ifndef DP_SETTINGS_SETTING_INSTANCE_HPP
#define DP_SETTINGS_SETTING_INSTANCE_HPP

#include <iosfwd>
#include <string>

#include "common/export.hpp"

namespace dp {

class setting;

/// An instance of a setting, as a command names it.
class DP_API setting_instance {
  public:
    class setting* setting = nullptr;  ///< not owned; null when the name did not resolve
    std::string instance;              ///< as written; empty when the command names no instance

    /// Returns the configuration's name, "." and the setting's name, followed by "." and the
    /// instance text unless that is empty; "ERR.INVALID_SETTING" when `setting` is null.
    [[nodiscard]] std::string get_name() const;
};

/// Writes `get_name()`.
DP_API std::ostream& operator<<(std::ostream& os, const setting_instance& i);

}  // namespace dp

#endif
