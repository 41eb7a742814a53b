#ifndef DP_TOOLS_DP_TEMPLATE_KEPT_REGISTRY_HPP
#define DP_TOOLS_DP_TEMPLATE_KEPT_REGISTRY_HPP

#include <string>

#include "support/json.hpp"
#include "tools/dp-template/registry_compiler.hpp"

namespace dp_tools {

/// The text of `uefi_registry.json`: the registry `root` on one line, with the attributes that
/// `compiled` has, in its order, and everything else as it is. Dependencies that name a password
/// are left out, because they could contain its value. That, and whatever readers of the file will
/// ignore, is added to the findings of `compiled`.
std::string kept_registry(const dp_support::json_value& root, compiled_registry& compiled);

}  // namespace dp_tools

#endif
