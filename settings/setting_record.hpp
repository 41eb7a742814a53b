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
    /// The members, filled by the owner of the configuration; not owned, null ones are skipped.
    std::vector<setting*> settings;

    /// Clears `valid` on every member's entry of that instance. The configuration does not count
    /// this as a change.
    void invalidate(std::uint32_t instance);
};

}  // namespace dp

#endif
