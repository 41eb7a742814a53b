#ifndef DP_SETTINGS_SETTING_ELEMENT_HPP
#define DP_SETTINGS_SETTING_ELEMENT_HPP

#include <cstdint>
#include <string>

#include "common/export.hpp"
#include "settings/instance_number.hpp"

namespace dp {

/// Description of a setting: its range of instances, its setting record, and the check of its
/// values. Owners of configurations derive from it. Several settings may share an element.
class DP_API setting_element {
  public:
    /// The setting is the key of its setting record.
    static constexpr std::uint32_t record_key_flag = 1U << 21;
    /// The setting is the refresh setting of its setting record.
    static constexpr std::uint32_t record_refresh_flag = 1U << 22;
    /// Instances of the setting may always be deleted.
    static constexpr std::uint32_t deletable_flag = 1U << 31;

    setting_element() = default;
    setting_element(const setting_element&) = delete;
    setting_element& operator=(const setting_element&) = delete;

    // The order of the virtual functions is part of the binary interface.

    /// Translates an input value, in place, to the form that the owner stores. Returns false when
    /// it cannot be mapped. The base changes nothing and returns true.
    virtual bool map_value(std::string* value);

    /// Returns the setting's default value. The base returns an empty string.
    virtual std::string default_value();

    /// Returns 0 when `value` is acceptable, otherwise the status code for the command. The base
    /// accepts every value.
    virtual std::int32_t validate(const std::string& value);

    virtual ~setting_element();

    /// Highest instance number; `no_instance` when the setting is single-valued. The library checks
    /// the bounds for deletes and `setting::create_records` only: owners of settings check them for
    /// reads and writes.
    std::uint32_t max_instance = no_instance;
    /// Lowest instance number.
    std::uint32_t min_instance = 0;
    /// Name of the setting record that the setting belongs to; empty for none.
    std::string record_name;
    /// The flags above, combined.
    std::uint32_t flags = 0;
};

/// The element of settings without a description. Accepts every value.
class DP_API non_xml_setting_element : public setting_element {
  public:
    std::int32_t validate(const std::string& value) override;
};

}  // namespace dp

#endif
