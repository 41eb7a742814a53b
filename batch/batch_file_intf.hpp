#ifndef DP_BATCH_BATCH_FILE_INTF_HPP
#define DP_BATCH_BATCH_FILE_INTF_HPP

#include "common/export.hpp"

namespace dp {

class batch_file_entry;
class registrar;

/// What a batch file reader hands its entries to.
class DP_API batch_file_intf {
  public:
    /// Takes one entry; the reader uses the record again for the next line. `reg` may be null.
    virtual void process_entry(batch_file_entry& entry, registrar* reg) = 0;

  protected:
    ~batch_file_intf() = default;
};

}  // namespace dp

#endif
