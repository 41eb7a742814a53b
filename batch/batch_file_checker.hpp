#ifndef DP_BATCH_BATCH_FILE_CHECKER_HPP
#define DP_BATCH_BATCH_FILE_CHECKER_HPP

#include "batch/batch_file_intf.hpp"
#include "common/export.hpp"

namespace dp {

/// Counts clean set commands and all other entries. A clean set command has "0" as status and
/// detail, the operation "set" or "setv", and a configuration and a setting in its name.
///
/// Only correlator 0 is clean, so the requests of the C API, which count from 100, are not. A name
/// without a dot is clean: its configuration is "err". Lines that the reader drops are not counted.
class DP_API batch_file_checker : public batch_file_intf {
  public:
    void process_entry(batch_file_entry& entry, registrar* reg) override;

    unsigned good = 0;  ///< clean set commands
    unsigned bad = 0;   ///< other entries
};

}  // namespace dp

#endif
