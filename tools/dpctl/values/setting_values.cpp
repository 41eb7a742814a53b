#include "tools/dpctl/values/setting_values.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "service_api/attribute_description.hpp"

namespace dpctl {

std::vector<setting_values> combine(std::vector<reading> pending, std::vector<reading> current) {
    const bool current_readable =
        std::any_of(current.begin(), current.end(), [](const reading& r) { return r.known; });
    std::vector<setting_values> values(pending.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i].waits_for_restart = current_readable && pending[i] != current[i];
        values[i].pending = std::move(pending[i]);
        values[i].current = std::move(current[i]);
    }
    return values;
}

std::vector<setting_values> read_values(session& service, std::span<const std::string> names) {
    return combine(service.read(names, values_of::pending),
                   service.read(names, values_of::current));
}

std::string value_text(const reading& value) {
    if (!value.known) {
        return "-";
    }
    if (value.cut) {
        return value.text + "…(cut)";
    }
    return value.text.empty() ? "\"\"" : value.text;
}

dp_support::json_value value_json(const reading& value) {
    return value.known ? dp_support::json_value(value.text) : dp_support::json_value();
}

dp_support::json_value default_json(const dp_attribute& attribute) {
    return dp_service::is_removed_by_default(attribute) ? dp_support::json_value()
                                                        : dp_support::json_value(attribute.dft);
}

void add_values(dp_support::json_value& object, const setting_values& values) {
    object.set("pending", value_json(values.pending));
    object.set("current", value_json(values.current));
    object.set("truncated", values.pending.cut || values.current.cut);
    object.set("pending_restart", values.waits_for_restart);
}

}  // namespace dpctl
