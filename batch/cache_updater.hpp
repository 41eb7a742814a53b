#ifndef DP_BATCH_CACHE_UPDATER_HPP
#define DP_BATCH_CACHE_UPDATER_HPP

#include "common/export.hpp"

namespace dp {

class batch_file_entry;
class registrar;

/// Copies the values that a batch produced into the settings' caches.
struct DP_API cache_updater {
    /// Stores the entry's output value in the instance of the setting that the entry names; does
    /// nothing when `reg` is null or does not know the setting.
    static void process_entry(batch_file_entry& entry, registrar* reg);
};

}  // namespace dp

#endif
