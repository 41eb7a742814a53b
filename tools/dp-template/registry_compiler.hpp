#ifndef DP_TOOLS_DP_TEMPLATE_REGISTRY_COMPILER_HPP
#define DP_TOOLS_DP_TEMPLATE_REGISTRY_COMPILER_HPP

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "bios/template_info.hpp"
#include "tools/dp-template/json_document.hpp"

namespace dp_tools {

/// What an attribute became.
struct compiled_attribute {
    template_info info;
    std::string value;  ///< the one it starts with; empty when the registry tells none
};

/// Something to say about a place in the registry.
struct finding {
    enum class severity {
        broken,   ///< the registry as a whole can't be used
        unfit,    ///< the attribute can't be carried or is not clear: it is left out
        warning,  ///< the attribute is kept, with this reservation
        notice    ///< left out, or told, as it should be
    };
    severity weight;
    std::size_t offset;   ///< of the value that it is about
    std::string pointer;  ///< the same place as a JSON pointer
    std::string message;
};

struct compiled_registry {
    std::vector<compiled_attribute> attributes;  ///< those that fit, in the registry's order
    std::vector<finding> findings;               ///< by place
    std::size_t unfit = 0;                       ///< number of attributes left out as unfit
    std::size_t passwords = 0;                   ///< number of attributes left out as secrets
};

/// Maps the attributes of a Redfish AttributeRegistry to template entries. With `collection` they
/// all belong to that one, otherwise to collections after their menus.
///
/// Enumerations and Booleans (False, True) become type 1, Integers type 3, Strings type 4. A bound
/// or length that is missing does not bound; a step that is missing or 0 is 1; for a default that
/// is missing or null the current value stands in; ReadOnly and Immutable set the flag `read_only`;
/// the help text goes to `fds`. Passwords are left out: their values must not stand in files.
compiled_registry compile_registry(const json_value& root,
                                   const std::optional<std::string>& collection);

/// The text of a template.
std::string template_text(const std::vector<compiled_attribute>& attributes);

/// Batch lines that set every attribute to the value that it starts with.
std::string settings_text(const std::vector<compiled_attribute>& attributes);

}  // namespace dp_tools

#endif
