#ifndef DP_BATCH_BATCH_FILE_CHECKER_HPP
#define DP_BATCH_BATCH_FILE_CHECKER_HPP

#include "batch/batch_file_intf.hpp"
#include "common/export.hpp"

namespace dp {

/// Counts the entries that are clean set commands ("0", "0", "set" or "setv", a name) and the
/// others.
class DP_API batch_file_checker : public batch_file_intf {
  public:
    void process_entry(batch_file_entry& entry, registrar* reg) override;

    unsigned good = 0;
    unsigned bad = 0;
};

}  // namespace dp

#endif
