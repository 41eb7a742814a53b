#ifndef DP_TOOLS_DP_SERVER_COMPILED_REGISTRY_HPP
#define DP_TOOLS_DP_SERVER_COMPILED_REGISTRY_HPP

#include <string>

#include "support/result.hpp"

namespace dp_tools {

/// What dp-template makes of a registry: a template with its registry beside it, and values. The
/// files are in a temporary folder, which is removed with this object.
class compiled_registry {
  public:
    compiled_registry() = default;
    ~compiled_registry();
    compiled_registry(const compiled_registry&) = delete;
    compiled_registry& operator=(const compiled_registry&) = delete;

    /// Runs dp-template: the program beside this one, or else the one that PATH finds. Its messages
    /// go to standard output and standard error. Call it once.
    dp_support::result<> compile(const std::string& registry, bool skip_unfit);

    [[nodiscard]] std::string template_file() const { return folder_ + "/uefi_template.efi"; }
    [[nodiscard]] std::string settings_file() const { return folder_ + "/uefi_settings.txt"; }

  private:
    std::string folder_;  // empty before `compile`
};

/// The version that the registry in `content` has, to use as a build id; a failure when it has none
/// that can be one.
dp_support::result<std::string> build_id_of_registry(const std::string& content);

}  // namespace dp_tools

#endif
