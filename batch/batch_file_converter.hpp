#ifndef DP_BATCH_BATCH_FILE_CONVERTER_HPP
#define DP_BATCH_BATCH_FILE_CONVERTER_HPP

#include <vector>

#include "batch/batch_file_intf.hpp"
#include "batch/batch_file_reader.hpp"
#include "common/export.hpp"
#include "transactions/transaction_command.hpp"

namespace dp {

/// Converts the entries of a batch file to transaction commands.
class DP_API batch_file_converter : public batch_file_intf, public batch_file_reader {
  public:
    /// A converter of the entries that its own `read_file` reads.
    batch_file_converter();
    // Cannot be copied: `processor` points to this object.
    batch_file_converter(const batch_file_converter&) = delete;
    batch_file_converter& operator=(const batch_file_converter&) = delete;
    void process_entry(batch_file_entry& entry, registrar* reg) override;

    /// One for each entry, in their order. Those whose lines are malformed are included: look at
    /// `status` and `complete`.
    std::vector<transaction_command> commands;
};

}  // namespace dp

#endif
