#ifndef DP_SERVICE_API_DEPENDENCY_DECISION_HPP
#define DP_SERVICE_API_DEPENDENCY_DECISION_HPP

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "service_api/registry_dependencies.hpp"
#include "service_api/registry_value.hpp"

namespace dp_service {

/// Which commands of a batch the dependencies of a registry allow.
struct dependency_decision {
    /// For each command, why it is not carried out: "read-only because WorkloadProfile is not
    /// Custom". Empty: its value is pending after the batch.
    std::vector<std::string> refusals;

    /// What the batch changes, by attribute, with the values that dependencies set.
    std::vector<registry_dependencies::change> changes;
};

/// Why the registry forbids that an attribute gets `value`, with the values that `rules` has. Empty
/// if it does not. Only ReadOnly, Immutable, bounds, lengths, step and pattern forbid one; the last
/// four only when a dependency determines them, since the template limits values already.
std::string why_forbidden(const registry_dependencies& rules, std::uint32_t attribute,
                          const registry_value& value);

/// Decides which of `commands` are carried out together. A command is, if the dependencies allow it
/// with the values before the batch or with those after it, and if its value is the attribute's
/// after the batch. The others are left out, and the rest is decided again until nothing changes. A
/// command whose value the attribute has already is never refused.
///
/// The cost grows with the commands and with what they change. Only if refused commands matter to
/// dependencies of current values (`matters_to_values`), all commands are assigned again.
///
/// `rules` has nothing to undo. Afterwards it has the values after the batch: `keep` or `undo`
/// them.
dependency_decision decide(registry_dependencies& rules,
                           std::span<const registry_dependencies::assignment> commands);

}  // namespace dp_service

#endif
