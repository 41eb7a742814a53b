#ifndef DP_SETTINGS_SETTING_RECORD_HPP
#define DP_SETTINGS_SETTING_RECORD_HPP

#include <cstdint>
#include <vector>

#include "common/export.hpp"

namespace dp {

class setting;

/// Settings whose instances are created and removed together, such as the fields of a table row.
class DP_API setting_record {
  public:
    /// The members, not owned. The configuration's owner adds them; null members are skipped.
    std::vector<setting*> settings;

    /// Clears `valid` in every member's entry of `instance`. Not recorded as a change.
    void invalidate(std::uint32_t instance);
};

}  // namespace dp

#endif
