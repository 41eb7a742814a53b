#ifndef DP_TOOLS_DP_TEMPLATE_ATTRIBUTE_COMPILER_HPP
#define DP_TOOLS_DP_TEMPLATE_ATTRIBUTE_COMPILER_HPP

#include <string>

#include "bios/template_info.hpp"
#include "support/json.hpp"
#include "tools/dp-template/finding.hpp"

namespace dp_tools {

/// An attribute of the template.
struct compiled_attribute {
    template_info info;
    std::string value;  ///< the initial value; empty if the registry has none
};

/// The result of compiling an attribute.
struct attribute_result {
    compiled_attribute attribute;          ///< without its collection
    bool fits = true;                      ///< there was no finding that makes it unfit
    bool has_replaced_characters = false;  ///< in its descriptions
    bool has_no_value = false;             ///< neither a current nor a default value
    bool has_substitute_default = false;   ///< there is no default; the current value is used
};

/// Compiles one attribute of the registry. `pointer` is its place, for findings.
attribute_result compile_attribute(const dp_support::json_value& source, const std::string& pointer,
                                   findings_list& findings);

}  // namespace dp_tools

#endif
