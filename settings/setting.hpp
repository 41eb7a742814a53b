#ifndef DP_SETTINGS_SETTING_HPP
#define DP_SETTINGS_SETTING_HPP

#include <cstdint>
#include <iosfwd>
#include <string>

#include "common/export.hpp"
#include "settings/setting_cache.hpp"

namespace dp {

class configuration;
class plugin;
class setting_element;
class transaction_command;

/// One named setting of a configuration, with the cached values of its instances. The host owns
/// settings; configurations and commands point at them. `configuration` and `element` are set
/// before any operation below is called.
class DP_API setting {
  public:
    // A member may have its class's name as long as the class is spelt out once, `class cache`.
    class DP_API cache : public setting_cache {};

    setting(class configuration* owning_configuration, std::string setting_name,
            plugin* owning_plugin, setting_element* description);

    /// Removes the cached value of an instance. Counts as a change even when there was none.
    void remove_instance(std::uint32_t instance);

    /// Stores a value; a change unless the same value was already known.
    void set_instance_value(const std::string& value, std::uint32_t instance);

    /// Copies the value of an instance to `out` and returns true when it is known; otherwise `out`
    /// stays untouched.
    bool get_instance_value(std::string* out, std::uint32_t instance);

    /// Forgets the value of an instance but keeps its place; a change when the value was known.
    void invalidate_instance(std::uint32_t instance);

    [[nodiscard]] bool is_record_key() const;
    [[nodiscard]] bool is_record_refresh() const;

    /// Gives every member of this setting's record that may have `instance` and has no known value
    /// for it its default value.
    void create_records(std::uint32_t instance);

    /// Removes `instance` from every member of this setting's record.
    void remove_records(std::uint32_t instance);

    /// Writes the setting's full name, its cached values and a line end.
    std::ostream& display_cache(std::ostream& os) const;

    /// Checks a command aimed at this setting against its element before a plug-in sees it. On
    /// failure the command is complete and, if its status was still 0, has the element's code for a
    /// value or 226 for a delete that is not permitted. Deleting a record's key invalidates the
    /// row.
    void validate(transaction_command* command);

    class configuration* configuration;
    std::string name;
    plugin* owner;  ///< the settings owner that serves this setting; null when none does
    class cache cache;
    setting_element* element;
};

/// Writes the configuration's name, "." and the setting's name.
DP_API std::ostream& operator<<(std::ostream& os, const setting& s);

}  // namespace dp

#endif
