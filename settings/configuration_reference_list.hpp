#ifndef DP_SETTINGS_CONFIGURATION_REFERENCE_LIST_HPP
#define DP_SETTINGS_CONFIGURATION_REFERENCE_LIST_HPP

#include <cstdint>
#include <list>
#include <utility>

#include "common/export.hpp"

namespace dp {

class configuration;
class registrar;

/// The configurations that a client has read, each with the version that it saw. A configuration
/// must exist as long as its references.
class DP_API configuration_reference_list {
  public:
    /// Appends a reference with version 0 and marks the list as stale. Duplicates are kept.
    void add_reference(registrar& reg, configuration* config);

    /// Removes every reference to `config` and marks the list as stale, even if there was none.
    void remove_reference(registrar& reg, configuration* config);

    /// Whether any reference names `config`.
    [[nodiscard]] bool has_reference(registrar& reg, const configuration* config) const;

    /// Whether references were added or removed, or a configuration changed, since the last
    /// `update_versions`. A version that moved by exactly 0x10000000 does not count as changed: bit
    /// 28 of the difference is ignored.
    [[nodiscard]] bool is_stale() const;

    /// Clears `stale` and stores the current version of every configuration as seen.
    void update_versions(registrar& reg);

    bool stale = false;  ///< references were added or removed
    /// Configurations, not owned, with the version seen of each; in insertion order.
    std::list<std::pair<configuration*, std::uint32_t>> references;
};

}  // namespace dp

#endif
