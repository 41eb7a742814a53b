#ifndef DP_SERVICE_API_ATTRIBUTE_REGISTRY_HPP
#define DP_SERVICE_API_ATTRIBUTE_REGISTRY_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "service_api/registry_value.hpp"
#include "support/json.hpp"
#include "support/result.hpp"

namespace dp_service {

/// Greatest size in bytes of a registry's file.
inline constexpr std::size_t registry_size_limit = std::size_t{32} << 20;

/// The properties of an attribute that dependencies read or change.
enum class registry_property : std::uint8_t {
    current_value,
    default_value,
    read_only,
    write_only,
    gray_out,
    hidden,
    immutable,
    help_text,
    warning_text,
    display_name,
    display_order,
    lower_bound,
    upper_bound,
    min_length,
    max_length,
    scalar_increment,
    value_expression
};

inline constexpr std::size_t registry_property_count = 17;

/// The property's name in a registry: "CurrentValue".
std::string_view name_of(registry_property property);

/// The property that a registry calls `name`.
std::optional<registry_property> registry_property_named(std::string_view name);

enum class registry_type : std::uint8_t { enumeration, string, integer, boolean, password };

/// A possible value of an enumeration.
struct registry_choice {
    std::string name;
    std::string display_name;  ///< empty if the registry has none
};

struct registry_attribute {
    std::string name;
    registry_type type = registry_type::string;
    std::string menu_path;
    std::vector<registry_choice> choices;  ///< of an enumeration, in the registry's order
    bool reset_required = true;
    bool is_system_unique = false;

    /// By `registry_property`. Flags are Booleans, lengths, bounds, step and order whole numbers or
    /// null, descriptions and the pattern texts, empty when the registry has none. The two values
    /// are as `value_of_text` makes them, or null.
    std::array<registry_value, registry_property_count> properties;

    [[nodiscard]] const registry_value& operator[](registry_property property) const {
        return properties[static_cast<std::size_t>(property)];
    }

    /// The value whose text in a settings file is `text`: a Boolean or a whole number when the type
    /// is one and the text is valid, otherwise the text.
    [[nodiscard]] registry_value value_of_text(std::string_view text) const;
};

struct registry_menu {
    std::string name;
    std::string path;
    std::string display_name;
    std::optional<std::int64_t> display_order;
    bool gray_out = false;
    bool hidden = false;
    bool read_only = false;
};

/// A term of a dependency's condition: a comparison, or an expression of terms.
struct registry_term {
    /// How the term is combined with the result of the terms before it. `and_not` is a NOT: it
    /// negates the term. The first term has none before it: only NOT matters.
    enum class joint : std::uint8_t { all, any, and_not };

    joint joined = joint::all;
    std::vector<registry_term> subexpressions;  ///< if not empty, the rest is not used
    std::uint32_t attribute = 0;                ///< index of the attribute
    registry_property property = registry_property::current_value;
    registry_condition condition = registry_condition::equal;
    registry_value value;
};

/// A dependency: while its condition holds, a property of an attribute has another value.
struct registry_map {
    std::uint32_t position = 0;          ///< in the registry's list of dependencies
    std::vector<registry_term> terms;    ///< the condition, at least one term
    std::optional<std::uint32_t> cause;  ///< DependencyFor: always there for a current value
    std::uint32_t attribute = 0;         ///< the one that is changed
    registry_property property = registry_property::current_value;
    registry_value value;  ///< of the kind that the property has
};

/// Something in a registry that is ignored.
struct registry_problem {
    std::string_view list;  ///< "Attributes", "Menus" or "Dependencies"; empty: the list is missing
    std::size_t index = 0;  ///< in that list
    std::string member;     ///< a JSON pointer within the element, such as "/HelpText", or empty
    std::string message;    ///< "is a number instead of a text"
    std::size_t offset = 0;  ///< of its first byte in the text
};

/// What `uefi_registry.json` says about the attributes of a template, their menus and dependencies.
struct attribute_registry {
    std::string id;
    std::string name;
    std::string language;
    std::string version;
    std::string owning_entity;
    std::vector<registry_attribute> attributes;  ///< in the registry's order, as all lists here
    std::vector<registry_menu> menus;
    std::vector<registry_map> maps;  ///< those that can be evaluated
    std::vector<registry_problem> problems;

    /// The index of the attribute `attribute_name`; nothing when there is none or more than one.
    [[nodiscard]] std::optional<std::uint32_t> find(std::string_view attribute_name) const;

    /// Whether the attributes are those of a template whose records have these names, in their
    /// order.
    [[nodiscard]] bool belongs_to(const std::vector<std::string>& template_names) const;

    /// The same for clients, to which the C API shows the records by collection: whether there are
    /// as many attributes of each name, in any order.
    [[nodiscard]] bool has_attributes(std::vector<std::string_view> template_names) const;

    std::unordered_map<std::string, std::optional<std::uint32_t>> index;  ///< for `find`
};

/// Reads an AttributeRegistry. Fails when it is none: without a list of attributes that have names
/// and types. Everything else that is wrong is ignored, and reported as a problem: members of the
/// wrong kind, and dependencies that name attributes or properties that do not exist, or that have
/// a value that the property cannot have. The reason of a failure begins with a JSON pointer.
dp_support::result<attribute_registry> read_attribute_registry(const dp_support::json_value& root);

/// The same from the text of a file of at most `registry_size_limit` bytes.
dp_support::result<attribute_registry> parse_attribute_registry(std::string_view text);

}  // namespace dp_service

#endif
