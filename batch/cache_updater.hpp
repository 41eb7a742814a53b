#ifndef DP_BATCH_CACHE_UPDATER_HPP
#define DP_BATCH_CACHE_UPDATER_HPP

#include "common/export.hpp"

namespace dp {

class batch_file_entry;
class registrar;

/// Copies the output values of a batch to the caches of the settings.
struct DP_API cache_updater {
    /// Stores the entry's output value in the setting instance that the entry names. Does nothing
    /// when `reg` is null or does not know the setting.
    static void process_entry(batch_file_entry& entry, registrar* reg);
};

}  // namespace dp

#endif
