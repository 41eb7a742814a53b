#ifndef DP_TESTS_SUPPORT_SCHEMA_MEMBERS_HPP
#define DP_TESTS_SUPPORT_SCHEMA_MEMBERS_HPP

#include <algorithm>
#include <string>
#include <string_view>

#include "support/json.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/support/test_data.hpp"

namespace test {

/// Where the published schemas are, for `missing_data`.
inline const std::string schema_folder = "redfish/json-schema/";

inline bool is_annotation(std::string_view name) {
    return name.find('@') != std::string_view::npos;
}

inline std::string json_type_of(const dp_support::json_value& value) {
    using dp_support::json_kind;
    switch (value.kind) {
        case json_kind::null:
            return "null";
        case json_kind::boolean:
            return "boolean";
        case json_kind::integer:
            return "integer";
        case json_kind::real:
            return "number";
        case json_kind::text:
            return "string";
        case json_kind::array:
            return "array";
        case json_kind::object:
            break;
    }
    return "object";
}

inline bool accepts_type(const dp_support::json_value& type, const std::string& given) {
    if (type.kind == dp_support::json_kind::text) {
        return type.text == given || (type.text == "number" && given == "integer");
    }
    return std::any_of(type.items.begin(), type.items.end(),
                       [&](const dp_support::json_value& one) { return accepts_type(one, given); });
}

/// What is wrong with the members of a resource, by the published schema that its @odata.type
/// names: members that the schema does not have, of another type, out of range or missing. One a
/// line; empty when nothing is. Does not look into objects within it.
inline std::string schema_problems(const dp_support::json_value& resource) {
    const auto* const type = resource.find("@odata.type");
    if (type == nullptr || !type->text.starts_with('#')) {
        return "no @odata.type\n";
    }
    // "#Role.v1_3_3.Role" or "#RoleCollection.RoleCollection"
    const std::string file = type->text.substr(1, type->text.rfind('.') - 1);
    const std::string name = type->text.substr(type->text.rfind('.') + 1);
    const auto schema =
        dp_support::parse_json(read_file(data_file(schema_folder + file + ".json"))).root;
    const auto* const definitions = schema.find("definitions");
    const auto* definition = definitions != nullptr ? definitions->find(name) : nullptr;
    if (definition != nullptr && definition->find("anyOf") != nullptr) {
        definition = &definition->find("anyOf")->items.back();
    }
    if (definition == nullptr) {
        return "no schema " + type->text + "\n";
    }
    std::string problems;
    for (const auto& required : definition->find("required")->items) {
        if (resource.find(required.text) == nullptr) {
            problems += "missing: " + required.text + "\n";
        }
    }
    for (const auto& member : resource.items) {
        const auto* const property = definition->find("properties")->find(member.name);
        if (property == nullptr) {
            problems += is_annotation(member.name) ? "" : "unknown: " + member.name + "\n";
            continue;
        }
        const auto* const types = property->find("type");
        if (types != nullptr && !accepts_type(*types, json_type_of(member))) {
            problems += "type: " + member.name + "\n";
        }
        const auto* const least = property->find("minimum");
        const auto* const greatest = property->find("maximum");
        if ((least != nullptr && member.integer < least->integer) ||
            (greatest != nullptr && member.integer > greatest->integer)) {
            problems += "range: " + member.name + "\n";
        }
    }
    return problems;
}

}  // namespace test

#endif
