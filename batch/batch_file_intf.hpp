#ifndef DP_BATCH_BATCH_FILE_INTF_HPP
#define DP_BATCH_BATCH_FILE_INTF_HPP

#include "common/export.hpp"

namespace dp {

class batch_file_entry;
class registrar;

/// Receives the entries of a batch file from a reader.
class DP_API batch_file_intf {
  public:
    /// Processes an entry, which is valid during the call. `reg` may be null.
    virtual void process_entry(batch_file_entry& entry, registrar* reg) = 0;

  protected:
    ~batch_file_intf() = default;
};

}  // namespace dp

#endif
