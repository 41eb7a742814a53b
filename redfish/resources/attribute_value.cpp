#include "redfish/resources/attribute_value.hpp"

#include <cstddef>
#include <cstdint>
#include <vector>

#include "batch/batch_list_info.hpp"
#include "redfish/resources/resource_json.hpp"
#include "service_api/registry_value.hpp"
#include "support/decimal.hpp"

namespace dp_redfish {

using dp_service::registry_type;
using dp_support::json_value;

json_value attribute_json(const server_setting& setting, const std::optional<std::string>& value) {
    if (!value || setting.is_secret) {
        return {};
    }
    if (setting.type == registry_type::integer) {
        if (const auto number = dp_support::decimal::parse<std::int64_t>(*value)) {
            return *number;
        }
    } else if (setting.type == registry_type::boolean) {
        if (const auto truth = dp_service::truth_named(*value)) {
            return *truth;
        }
    }
    return *value;
}

json_value attributes_json(const settings_catalog& catalog,
                           const std::vector<std::optional<std::string>>& values) {
    json_value attributes = json_value::object();
    attributes.items.reserve(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        const server_setting& setting = catalog.settings[i];
        append_member(attributes, setting.name, attribute_json(setting, values[i]));
    }
    return attributes;
}

bool is_same_value(const server_setting& setting, const std::string& a,
                   const std::optional<std::string>& b) {
    if (!b) {
        return false;
    }
    if (setting.type == registry_type::integer) {
        const auto number = dp_support::decimal::parse<std::int64_t>(a);
        if (number && number == dp_support::decimal::parse<std::int64_t>(*b)) {
            return true;
        }
    } else if (setting.type == registry_type::boolean) {
        const auto truth = dp_service::truth_named(a);
        if (truth && truth == dp_service::truth_named(*b)) {
            return true;
        }
    }
    // Values that were read have the terse form of lists.
    return a == *b ||
           (dp::batch_list_info::is_full_form(a) && dp::batch_list_info().tersify(a) == *b);
}

}  // namespace dp_redfish
