#ifndef DP_SERVICE_API_REGISTRY_VALUE_HPP
#define DP_SERVICE_API_REGISTRY_VALUE_HPP

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace dp_service {

/// A value in an attribute registry: of an attribute, of one of its properties, or one that a
/// dependency compares them with. `std::monostate` is null, and what the registry leaves out.
using registry_value = std::variant<std::monostate, bool, std::int64_t, double, std::string>;

/// How a dependency compares two values.
enum class registry_condition : std::uint8_t {
    equal,             ///< EQU
    not_equal,         ///< NEQ
    greater,           ///< GTR
    greater_or_equal,  ///< GEQ
    less,              ///< LSS
    less_or_equal,     ///< LEQ
    common_bits,       ///< BITAND: a bit is set in both
    any_bits           ///< BITOR: a bit is set in one of them
};

/// The condition that a registry calls `name`: EQU, NEQ, GTR, GEQ, LSS, LEQ, BITAND or BITOR.
std::optional<registry_condition> registry_condition_named(std::string_view name);

/// Whether `left` CONDITION `right`. Numbers, and texts of decimal digits compared with a number,
/// are compared as numbers; so are two texts of digits by the four conditions of order. Other texts
/// are compared byte by byte. False is less than true; the texts "true" and "false" in any case of
/// letters are equal to them. Values of any other two kinds are not equal, and no condition of
/// order holds for them. The conditions of bits hold for whole numbers only, without a fraction.
bool holds(registry_condition condition, const registry_value& left, const registry_value& right);

/// The Boolean that a text is written as: "true" or "false" in any case of letters.
std::optional<bool> truth_named(std::string_view text);

/// The value as a text, as the settings of a template have it: "True" and "False" for a Boolean,
/// decimal digits for a number. Empty for null.
std::string setting_text(const registry_value& value);

}  // namespace dp_service

#endif
