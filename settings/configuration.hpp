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

/// Orders settings by name, byte by byte, and lets a bare name stand for a setting.
struct DP_API setting_name_less {
    using is_transparent = void;
    bool operator()(const setting* a, const setting* b) const;
    bool operator()(const setting* a, std::string_view b) const;
    bool operator()(std::string_view a, const setting* b) const;
};

/// A named group of settings. Hosts derive from it; settings and configurations are theirs.
class DP_API configuration {
  public:
    /// What `enumerate_settings` calls.
    class settings_callback {
      public:
        virtual void operator()(setting* s, int arg) = 0;

      protected:
        ~settings_callback() = default;
    };

    configuration(const configuration&) = delete;
    configuration& operator=(const configuration&) = delete;

    // The order of the virtual operations is part of the binary interface.

    /// Lets the owner fill in its settings. The default does nothing.
    virtual void load_settings(registrar& reg);

    /// Calls `callback` once for every setting in name order, passing `arg` on.
    virtual void enumerate_settings(registrar& reg, settings_callback* callback, int arg);

    /// Adds a setting by its name. A setting of that name already present stays, and the new one is
    /// left out.
    void add_setting(setting* s);

    /// The setting of that exact name, or null.
    [[nodiscard]] setting* find_setting(const std::string& setting_name) const;

    /// Counts a change of a value: sets `changed` and, if it was clear, increments `version`.
    void count_change();

    std::string name;
    std::uint32_t version = 0;  ///< counts changes; wraps around
    std::uint32_t changed = 0;  ///< 1 from the first change on until the owner clears it
    std::set<setting*, setting_name_less> settings;
    std::map<std::string, setting_record> records;  ///< by record name

  protected:
    configuration() = default;
    explicit configuration(std::string configuration_name);
    // Not virtual, and protected: the interface has no slot for it, so nobody deletes through it.
    ~configuration() = default;
};

/// Writes the configuration's name.
DP_API std::ostream& operator<<(std::ostream& os, const configuration& c);

}  // namespace dp

#endif
