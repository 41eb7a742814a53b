#ifndef DP_SETTINGS_CONFIGURATION_REFERENCE_LIST_HPP
#define DP_SETTINGS_CONFIGURATION_REFERENCE_LIST_HPP

#include <cstdint>
#include <list>
#include <utility>

#include "common/export.hpp"

namespace dp {

class configuration;
class registrar;

/// The configurations that a client looked at, and the version that it saw of each. The
/// configurations outlive their references.
class DP_API configuration_reference_list {
  public:
    /// Adds a reference (duplicates are kept) and makes the list stale.
    void add_reference(registrar& reg, configuration* config);

    /// Removes every reference to `config` and makes the list stale.
    void remove_reference(registrar& reg, configuration* config);

    [[nodiscard]] bool has_reference(registrar& reg, const configuration* config) const;

    /// Whether references were added or removed, or a configuration changed, since the last
    /// `update_versions`. A version that moved by exactly 0x10000000 does not count as changed: bit
    /// 28 of the difference is masked off.
    [[nodiscard]] bool is_stale() const;

    /// Stores every configuration's present version as seen.
    void update_versions(registrar& reg);

    bool stale = false;  ///< references were added or removed
    /// Each configuration, not owned, with the version that was seen; in insertion order.
    std::list<std::pair<configuration*, std::uint32_t>> references;
};

}  // namespace dp

#endif
