#include "redfish/model/registry_resource.hpp"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>
#include <vector>

#include "service_api/attribute_description.hpp"
#include "service_api/choice_list.hpp"
#include "support/decimal.hpp"

namespace dp_redfish {
namespace {

using dp_support::json_kind;
using dp_support::json_value;

constexpr const char* registry_odata_type = "#AttributeRegistry.v1_5_0.AttributeRegistry";

void add_if_missing(json_value& root, std::string_view name, json_value value) {
    const json_value* const found = root.find(name);
    if (found == nullptr || found->kind != json_kind::text || found->text.empty()) {
        root.set(name, std::move(value));
    }
}

// "./Boot" for the collection titled "Boot".
std::string menu_path(std::string title) {
    std::replace(title.begin(), title.end(), '/', '-');
    return "./" + title;
}

std::string title_of(const dp_attribute& attribute) {
    return *attribute.cfgname == '\0' ? attribute.cfg : attribute.cfgname;
}

void add_limits(json_value& entry, const dp_attribute& attribute) {
    if (dp_service::is_numeric(attribute)) {
        const auto limits = dp_service::number_limits_of(attribute);
        entry.set("LowerBound", limits.least);
        entry.set("UpperBound", limits.greatest);
        entry.set("ScalarIncrement", limits.step);
    } else if (dp_service::is_string(attribute)) {
        entry.set("MinLength", attribute.minc);
        if (attribute.maxc != 0) {
            entry.set("MaxLength", attribute.maxc);
        }
        if (*attribute.reg != '\0') {
            entry.set("ValueExpression", attribute.reg);
        }
    } else if (dp_service::is_enumeration(attribute)) {
        json_value choices = json_value::array();
        for (const auto& choice : dp_service::choice_list::split(attribute.chc)) {
            choices.push_back(json_value::object({{"ValueName", choice}}));
        }
        entry.set("Value", std::move(choices));
    }
}

const char* type_word(dp_service::registry_type type) {
    switch (type) {
        case dp_service::registry_type::enumeration:
            return "Enumeration";
        case dp_service::registry_type::integer:
            return "Integer";
        case dp_service::registry_type::boolean:
            return "Boolean";
        case dp_service::registry_type::password:
            return "Password";
        case dp_service::registry_type::string:
            break;
    }
    return "String";
}

json_value default_of(const server_setting& setting) {
    const dp_attribute& attribute = setting.attribute->get();
    if (dp_service::is_removed_by_default(attribute)) {
        return {};
    }
    if (setting.type == dp_service::registry_type::integer) {
        if (const auto number = dp_support::decimal::parse<std::int64_t>(attribute.dft)) {
            return *number;
        }
    }
    return attribute.dft;
}

json_value entry_of(const server_setting& setting) {
    const dp_attribute& attribute = setting.attribute->get();
    json_value entry = json_value::object({{"AttributeName", setting.name},
                                           {"DefaultValue", default_of(setting)},
                                           {"DisplayName", attribute.dsc},
                                           {"HelpText", attribute.fds},
                                           {"MenuPath", menu_path(title_of(attribute))},
                                           {"ReadOnly", dp_service::is_read_only(attribute)},
                                           {"ResetRequired", true},
                                           {"Type", type_word(setting.type)}});
    add_limits(entry, attribute);
    return entry;
}

}  // namespace

std::string registry_segment(const std::string& id) {
    std::string segment = id;
    std::replace_if(
        segment.begin(), segment.end(),
        [](char c) {
            return !((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                     c == '.' || c == '-' || c == '_');
        },
        '_');
    // Neither a segment without a meaning nor one that another registry has.
    const bool is_plain = segment.find_first_not_of('.') != std::string::npos;
    constexpr std::array<std::string_view, 4> taken{"Base.", "ResourceEvent.", "SettingsEvents.",
                                                    "TaskEvent."};
    const bool is_taken = std::any_of(taken.begin(), taken.end(), [&](std::string_view prefix) {
        return segment.starts_with(prefix);
    });
    return is_plain && !is_taken ? segment : "BiosAttributeRegistry" + segment;
}

std::string registry_path(const std::string& id) {
    const std::string segment = registry_segment(id);
    return "/redfish/v1/Registries/" + segment + '/' + segment;
}

json_value installed_registry(json_value root) {
    add_if_missing(root, "@odata.type", registry_odata_type);
    add_if_missing(root, "Id", template_registry_id);
    add_if_missing(root, "Name", "BIOS Attribute Registry");
    add_if_missing(root, "Language", "en");
    add_if_missing(root, "RegistryVersion", "1.0.0");
    add_if_missing(root, "OwningEntity", "Unknown");
    root.set("@odata.id", registry_path(root.find("Id")->text));
    return root;
}

json_value registry_of_template(const settings_catalog& catalog) {
    json_value attributes = json_value::array();
    json_value menus = json_value::array();
    std::vector<std::string> titles;
    for (const auto& setting : catalog.settings) {
        attributes.push_back(entry_of(setting));
        std::string title = title_of(setting.attribute->get());
        if (std::find(titles.begin(), titles.end(), title) == titles.end()) {
            menus.push_back(json_value::object({{"MenuName", menu_path(title).substr(2)},
                                                {"MenuPath", menu_path(title)},
                                                {"DisplayName", title},
                                                {"DisplayOrder", titles.size() + 1}}));
            titles.push_back(std::move(title));
        }
    }
    return json_value::object(
        {{"@odata.id", registry_path(template_registry_id)},
         {"@odata.type", registry_odata_type},
         {"Id", template_registry_id},
         {"Name", "BIOS Attribute Registry"},
         {"Description", "What the BIOS's template says about its attributes"},
         {"Language", "en"},
         {"RegistryVersion", "1.0.0"},
         {"OwningEntity", "Unknown"},
         {"RegistryEntries", json_value::object({{"Attributes", std::move(attributes)},
                                                 {"Menus", std::move(menus)},
                                                 {"Dependencies", json_value::array()}})}});
}

}  // namespace dp_redfish
