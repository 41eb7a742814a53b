#ifndef DP_TOOLS_DP_TEMPLATE_REGISTRY_COMPILER_HPP
#define DP_TOOLS_DP_TEMPLATE_REGISTRY_COMPILER_HPP

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "bios/template_info.hpp"
#include "support/json.hpp"

namespace dp_tools {

/// An attribute of the template.
struct compiled_attribute {
    template_info info;
    std::string value;  ///< the initial value; empty if the registry has none
};

/// A message about a place in the registry.
struct finding {
    enum class severity {
        broken,   ///< the registry cannot be used at all
        unfit,    ///< the attribute cannot be encoded or is not clear; it is left out
        warning,  ///< the attribute is kept, with this restriction
        notice    ///< information, no problem
    };
    severity weight;
    std::size_t offset;   ///< of the value that the message is about
    std::string pointer;  ///< the same place as a JSON pointer
    std::string message;
};

struct compiled_registry {
    std::vector<compiled_attribute> attributes;  ///< those that fit, in the registry's order
    std::vector<finding> findings;               ///< by offset
    std::size_t unfit = 0;                       ///< number of attributes left out as unfit
    std::size_t passwords = 0;                   ///< number of passwords left out
};

/// Compiles the attributes of a Redfish AttributeRegistry. With `collection` they all belong to
/// that one, otherwise to the `collections` of their menus.
///
/// Enumerations and Booleans (False, True) become DP_TYPE_ENUMERATION, Integers DP_TYPE_NUMERIC,
/// Strings DP_TYPE_STRING. A missing bound or length is no limit; a missing step, or 0, is 1; for a
/// default that is missing or null the current value is used; ReadOnly and Immutable set the flag
/// `read_only`; the help text becomes `fds`. Passwords are left out: their values must not be
/// stored in files.
compiled_registry compile_registry(const dp_support::json_value& root,
                                   const std::optional<std::string>& collection);

/// The attribute text of a template.
std::string template_text(const std::vector<compiled_attribute>& attributes);

/// Batch lines that set each attribute to its initial value.
std::string settings_text(const std::vector<compiled_attribute>& attributes);

}  // namespace dp_tools

#endif
