#include "tools/dpctl/changes/setting_values.hpp"

#include <algorithm>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <utility>

namespace dpctl {

std::vector<setting_values> pair_up(std::vector<reading> pending, std::vector<reading> current) {
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
    return pair_up(service.read(names, values_of::pending),
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

nlohmann::ordered_json value_json(const reading& value) {
    return value.known ? nlohmann::ordered_json(value.text) : nlohmann::ordered_json(nullptr);
}

void add_values(nlohmann::ordered_json& object, const setting_values& values) {
    object["pending"] = value_json(values.pending);
    object["current"] = value_json(values.current);
    object["truncated"] = values.pending.cut || values.current.cut;
    object["pending_restart"] = values.waits_for_restart;
}

}  // namespace dpctl
