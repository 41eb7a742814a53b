#ifndef DP_TOOLS_DP_TEMPLATE_REGISTRY_COMPILER_HPP
#define DP_TOOLS_DP_TEMPLATE_REGISTRY_COMPILER_HPP

#include <cstddef>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "support/json.hpp"
#include "tools/dp-template/attribute_compiler.hpp"
#include "tools/dp-template/finding.hpp"

namespace dp_tools {

struct compiled_registry {
    std::vector<compiled_attribute> attributes;         ///< those that fit, in the registry's order
    std::vector<std::size_t> positions;                 ///< of `attributes` in the registry's list
    std::set<std::string, std::less<>> password_names;  ///< of the passwords left out
    std::vector<finding> findings;                      ///< by offset
    std::size_t unfit = 0;                              ///< number of attributes left out as unfit
    std::size_t passwords = 0;                          ///< number of passwords left out
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
