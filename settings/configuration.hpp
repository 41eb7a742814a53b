#ifndef DP_SETTINGS_CONFIGURATION_HPP
#define DP_SETTINGS_CONFIGURATION_HPP

#include <cstdint>
#include <iosfwd>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "common/export.hpp"
#include "settings/setting_record.hpp"

namespace dp {

class registrar;
class setting;

/// Orders settings by name, byte by byte. A name can be compared with a setting directly.
struct DP_API setting_name_less {
    /// A set finds its settings by name without a setting.
    using is_transparent = void;
    /// Whether the first name comes before the second.
    /// @{
    bool operator()(const setting* a, const setting* b) const;
    bool operator()(const setting* a, std::string_view b) const;
    bool operator()(std::string_view a, const setting* b) const;
    /// @}
};

/// A named group of settings. Hosts derive from it, and own the configurations and the settings.
class DP_API configuration {
  public:
    /// Receives the settings that `enumerate_settings` visits.
    class settings_callback {
      public:
        /// Called for each setting, with the argument of `enumerate_settings`.
        virtual void operator()(setting* s, int arg) = 0;

      protected:
        ~settings_callback() = default;
    };

    configuration(const configuration&) = delete;
    configuration& operator=(const configuration&) = delete;

    // The order of the virtual functions is part of the binary interface.

    /// Lets the owner add its settings. The default does nothing.
    virtual void load_settings(registrar& reg);

    /// Calls `callback` once for every setting, in name order, with the setting and `arg`.
    virtual void enumerate_settings(registrar& reg, settings_callback* callback, int arg);

    /// Adds a setting, which is not owned and keeps its name while it is in the set. Does nothing
    /// when a setting with that name is already present.
    void add_setting(setting* s);

    /// Returns the setting with exactly that name, or null.
    [[nodiscard]] setting* find_setting(const std::string& setting_name) const;

    /// Records a change of a value: increments `version` unless `changed` is set, and sets it.
    void count_change();

    std::string name;           ///< must not change while the host can look it up
    std::uint32_t version = 0;  ///< incremented by `count_change`; wraps around
    std::uint32_t changed = 0;  ///< 1 after a change, until the owner clears it
    std::set<setting*, setting_name_less> settings;  ///< not owned
    std::map<std::string, setting_record> records;   ///< by setting record name

  protected:
    configuration() = default;
    /// A configuration without settings.
    explicit configuration(std::string configuration_name);
    // Not virtual, because the interface has no slot for it; protected, so that nobody deletes
    // through it.
    ~configuration() = default;
};

/// Writes the configuration's name.
DP_API std::ostream& operator<<(std::ostream& os, const configuration& c);

}  // namespace dp

#endif
