#include "service_api/attribute_registry.hpp"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <unordered_set>
#include <utility>

#include "support/decimal.hpp"

namespace dp_service {
namespace {

using dp_support::json_kind;
using dp_support::json_value;

constexpr std::array<std::string_view, registry_property_count> property_names{
    "CurrentValue",    "DefaultValue",   "ReadOnly",   "WriteOnly",   "GrayOut",
    "Hidden",          "Immutable",      "HelpText",   "WarningText", "DisplayName",
    "DisplayOrder",    "LowerBound",     "UpperBound", "MinLength",   "MaxLength",
    "ScalarIncrement", "ValueExpression"};

constexpr std::array<std::pair<std::string_view, registry_type>, 5> type_names{{
    {"Enumeration", registry_type::enumeration},
    {"String", registry_type::string},
    {"Integer", registry_type::integer},
    {"Boolean", registry_type::boolean},
    {"Password", registry_type::password},
}};

// What a property's values are.
enum class content : std::uint8_t { value, flag, text, number };

content content_of(registry_property property) {
    switch (property) {
        case registry_property::current_value:
        case registry_property::default_value:
            return content::value;
        case registry_property::read_only:
        case registry_property::write_only:
        case registry_property::gray_out:
        case registry_property::hidden:
        case registry_property::immutable:
            return content::flag;
        case registry_property::help_text:
        case registry_property::warning_text:
        case registry_property::display_name:
        case registry_property::value_expression:
            return content::text;
        case registry_property::display_order:
        case registry_property::lower_bound:
        case registry_property::upper_bound:
        case registry_property::min_length:
        case registry_property::max_length:
        case registry_property::scalar_increment:
            return content::number;
    }
    return content::value;
}

// Whether a condition may read the property.
bool is_readable(registry_property property) {
    return (content_of(property) != content::text && property != registry_property::immutable &&
            property != registry_property::display_order);
}

std::optional<bool> truth_of(const json_value& value) {
    if (value.kind == json_kind::boolean) {
        return value.truth;
    }
    return value.kind == json_kind::text ? truth_named(value.text) : std::nullopt;
}

// A whole number: an integer, a real number without a fraction, or a text of digits.
std::optional<std::int64_t> whole_number_of(const json_value& value) {
    switch (value.kind) {
        case json_kind::integer:
            return value.integer;
        case json_kind::text:
            return dp_support::decimal::parse<std::int64_t>(value.text);
        case json_kind::real: {
            constexpr double limit = 9223372036854775808.0;  // 2^63
            const bool fits =
                value.real >= -limit && value.real < limit && value.real == std::floor(value.real);
            return fits ? std::optional(static_cast<std::int64_t>(value.real)) : std::nullopt;
        }
        default:
            return std::nullopt;
    }
}

// A value of no particular type; nothing for a list or an object.
std::optional<registry_value> plain_value_of(const json_value& value) {
    switch (value.kind) {
        case json_kind::null:
            return registry_value();
        case json_kind::boolean:
            return registry_value(value.truth);
        case json_kind::integer:
            return registry_value(value.integer);
        case json_kind::real:
            return registry_value(value.real);
        case json_kind::text:
            return registry_value(value.text);
        default:
            return std::nullopt;
    }
}

// A value of an attribute; nothing when the attribute cannot have it.
std::optional<registry_value> value_for(const registry_attribute& attribute,
                                        const json_value& value) {
    switch (attribute.type) {
        case registry_type::boolean: {
            const auto truth = truth_of(value);
            return truth ? std::optional(registry_value(*truth)) : std::nullopt;
        }
        case registry_type::integer: {
            const auto number = whole_number_of(value);
            return number ? std::optional(registry_value(*number)) : std::nullopt;
        }
        default:
            break;
    }
    if (value.kind != json_kind::text && value.kind != json_kind::integer &&
        value.kind != json_kind::real) {
        return std::nullopt;
    }
    return registry_value(value.text);
}

const json_value* member_of(const json_value& object, std::string_view name) {
    const json_value* found = object.find(name);
    return found == nullptr || found->kind == json_kind::null ? nullptr : found;
}

std::string text_of(const json_value& object, std::string_view name) {
    const json_value* found = member_of(object, name);
    return found != nullptr && found->kind == json_kind::text ? found->text : std::string();
}

std::string quoted(std::string_view text) {
    constexpr std::size_t longest = 60;
    std::string result = "\"";
    for (const char c : text.substr(0, longest)) {
        const bool is_control = static_cast<unsigned char>(c) < 0x20 || c == '\x7F';
        result += is_control || c == '"' ? '?' : c;
    }
    return result + (text.size() > longest ? "...\"" : "\"");
}

class registry_reader {
  public:
    dp_support::result<attribute_registry> read(const json_value& root) {
        const json_value* entries = root.find("RegistryEntries");
        if (entries == nullptr || entries->kind != json_kind::object) {
            return dp_support::failure{"/RegistryEntries: is not an object", EBADMSG};
        }
        const json_value* attributes = entries->find("Attributes");
        if (attributes == nullptr || attributes->kind != json_kind::array) {
            return dp_support::failure{"/RegistryEntries/Attributes: is not a list", EBADMSG};
        }
        result_.id = text_of(root, "Id");
        result_.name = text_of(root, "Name");
        result_.language = text_of(root, "Language");
        result_.version = text_of(root, "RegistryVersion");
        result_.owning_entity = text_of(root, "OwningEntity");
        if (auto read = read_attributes(*attributes); !read) {
            return read.error();
        }
        read_list(*entries, "Menus", [this](const json_value& menu) { read_menu(menu); });
        read_list(*entries, "Dependencies",
                  [this](const json_value& dependency) { read_dependency(dependency); });
        return std::move(result_);
    }

  private:
    void report(const json_value& value, std::string member, std::string message) {
        result_.problems.push_back(
            {list_, at_, std::move(member), std::move(message), value.offset});
    }

    template <class Read>
    void read_list(const json_value& entries, std::string_view name, Read read) {
        const json_value* list = member_of(entries, name);
        if (list == nullptr) {
            return;
        }
        list_ = {};
        at_ = 0;
        if (list->kind != json_kind::array) {
            report(*list, "/" + std::string(name), "is not a list");
            return;
        }
        list_ = name;
        for (const json_value& element : list->items) {
            if (element.kind == json_kind::object) {
                read(element);
            } else {
                report(element, "", "is not an object");
            }
            ++at_;
        }
    }

    // --- members, which are ignored when they have the wrong kind

    std::string text_member(const json_value& object, std::string_view name) {
        const json_value* found = member_of(object, name);
        if (found == nullptr) {
            return "";
        }
        if (found->kind != json_kind::text) {
            report(*found, "/" + std::string(name), "is not a text");
            return "";
        }
        return found->text;
    }

    bool flag_member(const json_value& object, std::string_view name, bool missing) {
        const json_value* found = member_of(object, name);
        if (found == nullptr) {
            return missing;
        }
        const auto truth = truth_of(*found);
        if (!truth) {
            report(*found, "/" + std::string(name), "is neither true nor false");
        }
        return truth.value_or(missing);
    }

    std::optional<std::int64_t> number_member(const json_value& object, std::string_view name) {
        const json_value* found = member_of(object, name);
        if (found == nullptr || (found->kind == json_kind::text && found->text.empty())) {
            return std::nullopt;
        }
        const auto number = whole_number_of(*found);
        if (!number) {
            report(*found, "/" + std::string(name), "is not a whole number of 64 bits");
        }
        return number;
    }

    // --- attributes

    dp_support::result<> read_attributes(const json_value& list) {
        list_ = "Attributes";
        at_ = 0;
        result_.attributes.reserve(list.items.size());
        for (const json_value& source : list.items) {
            const json_value* name = source.find("AttributeName");
            const json_value* type = source.find("Type");
            const auto* const known =
                std::find_if(type_names.begin(), type_names.end(), [&](const auto& entry) {
                    return type != nullptr && type->kind == json_kind::text &&
                           type->text == entry.first;
                });
            const bool has_name =
                name != nullptr && name->kind == json_kind::text && !name->text.empty();
            if (!has_name || known == type_names.end()) {
                return dp_support::failure{"/RegistryEntries/Attributes/" + std::to_string(at_) +
                                               ": is not an attribute with a name and a known type",
                                           EBADMSG};
            }
            add_attribute(source, name->text, known->second);
            ++at_;
        }
        return {};
    }

    void add_attribute(const json_value& source, const std::string& name, registry_type type) {
        const auto index = static_cast<std::uint32_t>(result_.attributes.size());
        const auto [place, is_new] = result_.index.try_emplace(name, index);
        if (!is_new) {
            place->second.reset();
        }
        registry_attribute& added = result_.attributes.emplace_back();
        added.name = name;
        added.type = type;
        added.menu_path = text_member(source, "MenuPath");
        added.reset_required = flag_member(source, "ResetRequired", true);
        added.is_system_unique = flag_member(source, "IsSystemUniqueProperty", false);
        read_choices(source, added);
        for (std::size_t i = 0; i < registry_property_count; ++i) {
            added.properties[i] = property_of(source, added, static_cast<registry_property>(i));
        }
    }

    void read_choices(const json_value& source, registry_attribute& added) {
        const json_value* list = member_of(source, "Value");
        if (list == nullptr || added.type != registry_type::enumeration) {
            return;
        }
        if (list->kind != json_kind::array) {
            report(*list, "/Value", "is not a list");
            return;
        }
        added.choices.reserve(list->items.size());
        for (const json_value& choice : list->items) {
            const json_value* name =
                choice.kind == json_kind::object ? choice.find("ValueName") : &choice;
            if (name == nullptr ||
                (name->kind != json_kind::text && name->kind != json_kind::integer)) {
                report(choice, "/Value", "has a choice without a name");
                continue;
            }
            added.choices.push_back({name->text, text_of(choice, "ValueDisplayName")});
        }
    }

    registry_value property_of(const json_value& source, const registry_attribute& attribute,
                               registry_property property) {
        const std::string_view name = name_of(property);
        switch (content_of(property)) {
            case content::flag:
                return flag_member(source, name, false);
            case content::text:
                return text_member(source, name);
            case content::number: {
                const auto number = number_member(source, name);
                return number ? registry_value(*number) : registry_value();
            }
            case content::value:
                break;
        }
        const json_value* found = member_of(source, name);
        if (found == nullptr || (found->kind == json_kind::text && found->text.empty() &&
                                 attribute.type != registry_type::string)) {
            return {};
        }
        auto value = value_for(attribute, *found);
        if (!value) {
            report(*found, "/" + std::string(name), "is not a value of the attribute's type");
        }
        return std::move(value).value_or(registry_value());
    }

    // --- menus

    void read_menu(const json_value& source) {
        registry_menu menu;
        menu.name = text_member(source, "MenuName");
        menu.path = text_member(source, "MenuPath");
        menu.display_name = text_member(source, "DisplayName");
        menu.display_order = number_member(source, "DisplayOrder");
        menu.gray_out = flag_member(source, "GrayOut", false);
        menu.hidden = flag_member(source, "Hidden", false);
        menu.read_only = flag_member(source, "ReadOnly", false);
        result_.menus.push_back(std::move(menu));
    }

    // --- dependencies. A function returns nothing after it reported why.

    void read_dependency(const json_value& source) {
        if (const json_value* type = member_of(source, "Type");
            type != nullptr && (type->kind != json_kind::text || type->text != "Map")) {
            report(*type, "/Type", "is not Map");
            return;
        }
        const json_value* body = source.find("Dependency");
        if (body == nullptr || body->kind != json_kind::object) {
            report(source, "", "has no Dependency");
            return;
        }
        registry_map map;
        map.position = static_cast<std::uint32_t>(at_);
        const json_value* cause = member_of(source, "DependencyFor");
        if (cause != nullptr) {
            map.cause = attribute_named(source, "DependencyFor", "");
            if (!map.cause) {
                return;
            }
        }
        const std::string at = "/Dependency";
        const auto target = attribute_named(*body, "MapToAttribute", at);
        const auto property =
            target ? property_named(*body, "MapToProperty", at, nullptr) : std::nullopt;
        if (!property) {
            return;
        }
        map.attribute = *target;
        map.property = *property;
        if (map.property == registry_property::current_value && !map.cause) {
            report(source, "", "sets a CurrentValue and has no DependencyFor");
            return;
        }
        const json_value* from = body->find("MapFrom");
        if (from == nullptr || from->kind != json_kind::array || from->items.empty()) {
            report(from == nullptr ? *body : *from, at + "/MapFrom", "has no conditions");
            return;
        }
        if (read_map_value(*body, at, map) && read_terms(*from, at + "/MapFrom", map.terms)) {
            result_.maps.push_back(std::move(map));
        }
    }

    std::optional<std::uint32_t> attribute_named(const json_value& object, const char* member,
                                                 const std::string& at) {
        const json_value* name = member_of(object, member);
        if (name == nullptr || name->kind != json_kind::text) {
            report(name == nullptr ? object : *name, name == nullptr ? at : at + "/" + member,
                   name == nullptr ? "has no " + std::string(member) : "is not a text");
            return std::nullopt;
        }
        const auto found = result_.index.find(name->text);
        if (found == result_.index.end() || !found->second) {
            report(*name, at + "/" + member,
                   found == result_.index.end()
                       ? "there is no attribute " + quoted(name->text)
                       : "there is more than one attribute " + quoted(name->text));
            return std::nullopt;
        }
        return found->second;
    }

    // `missing` is used when there is no such member; null: it is required.
    std::optional<registry_property> property_named(const json_value& object, const char* member,
                                                    const std::string& at,
                                                    const registry_property* missing) {
        const json_value* name = member_of(object, member);
        if (name == nullptr && missing != nullptr) {
            return *missing;
        }
        if (name == nullptr) {
            report(object, at, "has no " + std::string(member));
            return std::nullopt;
        }
        const auto property =
            name->kind == json_kind::text ? registry_property_named(name->text) : std::nullopt;
        if (!property) {
            report(*name, at + "/" + member,
                   name->kind == json_kind::text ? quoted(name->text) + " is not a known property"
                                                 : "is not a text");
        }
        return property;
    }

    bool read_map_value(const json_value& body, const std::string& at, registry_map& map) {
        const json_value* value = body.find("MapToValue");
        const registry_attribute& target = result_.attributes[map.attribute];
        std::optional<registry_value> read;
        if (value == nullptr) {
            report(body, at, "has no MapToValue");
            return false;
        }
        switch (content_of(map.property)) {
            case content::flag:
                if (const auto truth = truth_of(*value)) {
                    read = *truth;
                }
                break;
            case content::text:
                if (value->kind == json_kind::text || value->kind == json_kind::null) {
                    read = value->text;
                }
                break;
            case content::number:
                if (const auto number = whole_number_of(*value)) {
                    read = *number;
                } else if (value->kind == json_kind::null) {
                    read = registry_value();
                }
                break;
            case content::value:
                read = value_for(target, *value);
                if (read && target.type == registry_type::enumeration &&
                    !is_choice(map.attribute, *read)) {
                    read.reset();
                }
                break;
        }
        if (!read) {
            report(*value, at + "/MapToValue",
                   "is not a value that " + std::string(name_of(map.property)) + " of " +
                       quoted(target.name) + " can have");
            return false;
        }
        map.value = *std::move(read);
        return true;
    }

    // The choices of an attribute are indexed when the first dependency needs them.
    bool is_choice(std::uint32_t attribute, const registry_value& value) {
        const auto [known, is_new] = choices_.try_emplace(attribute);
        if (is_new) {
            for (const registry_choice& choice : result_.attributes[attribute].choices) {
                known->second.insert(choice.name);
            }
        }
        return known->second.contains(setting_text(value));
    }

    // Recursion ends at the depth that the parser allows.
    // NOLINTNEXTLINE(misc-no-recursion)
    bool read_terms(const json_value& list, const std::string& at,
                    std::vector<registry_term>& terms) {
        terms.reserve(list.items.size());
        for (std::size_t i = 0; i < list.items.size(); ++i) {
            const std::string pointer = at + "/" + std::to_string(i);
            if (list.items[i].kind != json_kind::object) {
                report(list.items[i], pointer, "is not an object");
                return false;
            }
            if (!read_term(list.items[i], pointer, terms.emplace_back())) {
                return false;
            }
        }
        return true;
    }

    // NOLINTNEXTLINE(misc-no-recursion)
    bool read_term(const json_value& source, const std::string& at, registry_term& term) {
        if (const json_value* joint = member_of(source, "MapTerms")) {
            if (joint->text == "NOT") {
                term.joined = registry_term::joint::and_not;
            } else if (joint->text == "OR") {
                term.joined = registry_term::joint::any;
            } else if (joint->text != "AND" || joint->kind != json_kind::text) {
                report(*joint, at + "/MapTerms", "is none of AND, OR and NOT");
                return false;
            }
        }
        if (const json_value* inner = member_of(source, "Subexpressions")) {
            if (inner->kind != json_kind::array) {
                report(*inner, at + "/Subexpressions", "is not a list");
                return false;
            }
            if (!inner->items.empty()) {
                return read_terms(*inner, at + "/Subexpressions", term.subexpressions);
            }
        }
        return read_comparison(source, at, term);
    }

    bool read_comparison(const json_value& source, const std::string& at, registry_term& term) {
        constexpr registry_property usual = registry_property::current_value;
        const auto attribute = attribute_named(source, "MapFromAttribute", at);
        const auto property =
            attribute ? property_named(source, "MapFromProperty", at, &usual) : std::nullopt;
        if (!property) {
            return false;
        }
        if (!is_readable(*property)) {
            report(*source.find("MapFromProperty"), at + "/MapFromProperty",
                   "is a property that conditions cannot read");
            return false;
        }
        const json_value* name = member_of(source, "MapFromCondition");
        const auto condition = name != nullptr && name->kind == json_kind::text
                                   ? registry_condition_named(name->text)
                                   : std::nullopt;
        if (!condition) {
            report(name == nullptr ? source : *name, at + "/MapFromCondition",
                   "is not a known condition");
            return false;
        }
        const json_value* value = source.find("MapFromValue");
        const auto read =
            value == nullptr ? std::optional(registry_value()) : plain_value_of(*value);
        if (!read) {
            report(*value, at + "/MapFromValue", "is a list or an object");
            return false;
        }
        term.attribute = *attribute;
        term.property = *property;
        term.condition = *condition;
        term.value = *read;
        return true;
    }

    attribute_registry result_;
    std::unordered_map<std::uint32_t, std::unordered_set<std::string_view>> choices_;
    std::string_view list_;  // where the reader is
    std::size_t at_ = 0;
};

}  // namespace

std::string_view name_of(registry_property property) {
    return property_names[static_cast<std::size_t>(property)];
}

std::optional<registry_property> registry_property_named(std::string_view name) {
    const auto* const found = std::find(property_names.begin(), property_names.end(), name);
    return found == property_names.end()
               ? std::nullopt
               : std::optional(static_cast<registry_property>(found - property_names.begin()));
}

registry_value registry_attribute::value_of_text(std::string_view text) const {
    if (type == registry_type::boolean) {
        if (const auto truth = truth_named(text)) {
            return *truth;
        }
    } else if (type == registry_type::integer) {
        if (const auto number = dp_support::decimal::parse<std::int64_t>(text)) {
            return *number;
        }
    }
    return std::string(text);
}

std::optional<std::uint32_t> attribute_registry::find(std::string_view attribute_name) const {
    const auto found = index.find(std::string(attribute_name));
    return found == index.end() ? std::nullopt : found->second;
}

bool attribute_registry::belongs_to(const std::vector<std::string>& template_names) const {
    return std::equal(attributes.begin(), attributes.end(), template_names.begin(),
                      template_names.end(),
                      [](const registry_attribute& attribute, const std::string& template_name) {
                          return attribute.name == template_name;
                      });
}

bool attribute_registry::has_attributes(std::vector<std::string_view> template_names) const {
    std::vector<std::string_view> own(attributes.size());
    std::transform(
        attributes.begin(), attributes.end(), own.begin(),
        [](const registry_attribute& attribute) -> std::string_view { return attribute.name; });
    std::sort(own.begin(), own.end());
    std::sort(template_names.begin(), template_names.end());
    return own == template_names;
}

dp_support::result<attribute_registry> read_attribute_registry(const json_value& root) {
    return registry_reader().read(root);
}

dp_support::result<attribute_registry> parse_attribute_registry(std::string_view text) {
    if (text.size() > registry_size_limit) {
        return dp_support::failure{
            "is larger than " + std::to_string(registry_size_limit) + " bytes", EFBIG};
    }
    const auto document = dp_support::parse_json(text);
    if (!document.error.empty()) {
        return dp_support::failure{
            "is not JSON at byte " + std::to_string(document.error_offset) + ": " + document.error,
            EBADMSG};
    }
    return read_attribute_registry(document.root);
}

}  // namespace dp_service
