#ifndef DP_BATCH_BATCH_FILE_LOADER_HPP
#define DP_BATCH_BATCH_FILE_LOADER_HPP

#include <vector>

#include "batch/batch_file_entry.hpp"
#include "batch/batch_file_intf.hpp"
#include "batch/batch_file_reader.hpp"
#include "common/export.hpp"

namespace dp {

/// Collects the entries of a batch file and counts them by success.
class DP_API batch_file_loader : public batch_file_intf, public batch_file_reader {
  public:
    /// A loader without a list, which the caller may set. Without a list it only counts.
    batch_file_loader();
    /// Appends to `entry_list`, which is not owned.
    explicit batch_file_loader(std::vector<batch_file_entry>* entry_list);
    // Cannot be copied: `processor` points to this object.
    batch_file_loader(const batch_file_loader&) = delete;
    batch_file_loader& operator=(const batch_file_loader&) = delete;
    void process_entry(batch_file_entry& entry, registrar* reg) override;

    unsigned failed = 0;                               ///< entries whose status is not exactly "0"
    unsigned succeeded = 0;                            ///< entries whose status is exactly "0"
    std::vector<batch_file_entry>* entries = nullptr;  ///< not owned
};

}  // namespace dp

#endif
