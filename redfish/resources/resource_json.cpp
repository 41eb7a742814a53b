#include "redfish/resources/resource_json.hpp"

#include <array>
#include <ctime>
#include <utility>

#include "redfish/resources/schemas.hpp"

namespace dp_redfish {

using dp_support::json_value;

json_value reference(std::string path) {
    return json_value::object({{"@odata.id", std::move(path)}});
}

json_value start_resource(std::string path, std::string_view schema, std::string id,
                          std::string name) {
    return json_value::object({{"@odata.id", std::move(path)},
                               {"@odata.type", odata_type(schema)},
                               {"Id", std::move(id)},
                               {"Name", std::move(name)}});
}

json_value collection_resource(std::string path, std::string_view schema, std::string name,
                               const std::vector<std::string>& members) {
    json_value list = json_value::array();
    list.items.reserve(members.size());
    for (const auto& member : members) {
        list.push_back(reference(member));
    }
    return json_value::object({{"@odata.id", std::move(path)},
                               {"@odata.type", odata_type(schema)},
                               {"Name", std::move(name)},
                               {"Members@odata.count", members.size()},
                               {"Members", std::move(list)}});
}

void append_member(json_value& object, std::string_view name, json_value value) {
    value.name = name;
    object.items.push_back(std::move(value));
}

std::string time_text(std::int64_t seconds_since_1970) {
    const auto seconds = static_cast<std::time_t>(seconds_since_1970);
    std::tm parts{};
    std::array<char, 32> text{};
    if (gmtime_r(&seconds, &parts) == nullptr ||
        std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts) == 0) {
        return "1970-01-01T00:00:00Z";
    }
    return text.data();
}

std::string time_now_text() {
    return time_text(std::time(nullptr));
}

}  // namespace dp_redfish
