#ifndef DP_BATCH_BATCH_FILE_LOADER_HPP
#define DP_BATCH_BATCH_FILE_LOADER_HPP

#include <vector>

#include "batch/batch_file_entry.hpp"
#include "batch/batch_file_intf.hpp"
#include "batch/batch_file_reader.hpp"
#include "common/export.hpp"

namespace dp {

/// Gathers the entries of a batch file and counts which of them succeeded.
class DP_API batch_file_loader : public batch_file_intf, public batch_file_reader {
  public:
    /// A loader without a list, for the caller to set; without one it only counts.
    batch_file_loader();
    /// `entry_list` is appended to; not owned.
    explicit batch_file_loader(std::vector<batch_file_entry>* entry_list);
    // The reader half points at this object.
    batch_file_loader(const batch_file_loader&) = delete;
    batch_file_loader& operator=(const batch_file_loader&) = delete;
    void process_entry(batch_file_entry& entry, registrar* reg) override;

    unsigned failed = 0;                               ///< entries whose status is not exactly "0"
    unsigned succeeded = 0;                            ///< entries whose status is exactly "0"
    std::vector<batch_file_entry>* entries = nullptr;  ///< not owned
};

}  // namespace dp

#endif
