#ifndef DP_TESTS_SUPPORT_REGISTRY_JSON_HPP
#define DP_TESTS_SUPPORT_REGISTRY_JSON_HPP

#include <string>
#include <vector>

namespace test {

/// A dependency of a registry: while the value of `from` CONDITION `value`, `property` of
/// `attribute` is `to`. The last two texts are JSON.
struct json_dependency {
    std::string from;
    std::string condition;  ///< "EQU"
    std::string value;      ///< a text of the registry
    std::string attribute;
    std::string property;  ///< "ReadOnly"
    std::string to;        ///< JSON
    std::string cause{};   ///< DependencyFor; empty: `attribute`
};

/// A registry as JSON. `attributes` and `menus` are the items of its lists.
inline std::string registry_json(const std::string& attributes,
                                 const std::vector<json_dependency>& dependencies,
                                 const std::string& menus = {}) {
    std::string list;
    for (const json_dependency& each : dependencies) {
        list += (list.empty() ? "" : ",\n") +
                (R"({"DependencyFor": ")" + (each.cause.empty() ? each.attribute : each.cause)) +
                R"(", "Type": "Map", "Dependency": {"MapFrom": [{"MapFromAttribute": ")" +
                each.from + R"(", "MapFromProperty": "CurrentValue", "MapFromCondition": ")" +
                each.condition + R"(", "MapFromValue": ")" + each.value +
                R"("}], "MapToAttribute": ")" + each.attribute + R"(", "MapToProperty": ")" +
                each.property + R"(", "MapToValue": )" + each.to + "}}";
    }
    return R"({"RegistryVersion": "1.0.2", "RegistryEntries": {"Attributes": [)" + attributes +
           R"(], "Menus": [)" + menus + R"(], "Dependencies": [)" + list + "]}}";
}

/// The attributes of a server whose profile of power decides about others.
inline constexpr const char* power_attributes = R"(
    {"AttributeName": "Profile", "Type": "Enumeration", "DefaultValue": "Balanced",
     "Value": [{"ValueName": "Balanced"}, {"ValueName": "Custom"}]},
    {"AttributeName": "Limit", "Type": "Integer", "DefaultValue": 100, "LowerBound": 0,
     "UpperBound": 500},
    {"AttributeName": "Turbo", "Type": "Boolean", "DefaultValue": true},
    {"AttributeName": "Asset", "Type": "String", "DefaultValue": "", "MaxLength": 20,
     "IsSystemUniqueProperty": true})";

/// Limit is read-only unless Profile is Custom; Turbo becomes false when Profile becomes Custom.
inline std::vector<json_dependency> power_dependencies() {
    return {{"Profile", "NEQ", "Custom", "Limit", "ReadOnly", "true"},
            {"Profile", "EQU", "Custom", "Turbo", "CurrentValue", "false", "Profile"}};
}

/// A registry of `power_attributes` with `power_dependencies` and further ones.
inline std::string power_registry(const std::vector<json_dependency>& further = {}) {
    auto dependencies = power_dependencies();
    dependencies.insert(dependencies.end(), further.begin(), further.end());
    return registry_json(power_attributes, dependencies);
}

}  // namespace test

#endif
