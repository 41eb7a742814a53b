#ifndef DP_TRANSACTIONS_TRANSACTION_COMMAND_HPP
#define DP_TRANSACTIONS_TRANSACTION_COMMAND_HPP

#include <cstdint>
#include <iosfwd>
#include <string>

#include "common/export.hpp"
#include "settings/setting.hpp"
#include "settings/setting_instance.hpp"
#include "transactions/command_status.hpp"
#include "transactions/operations.hpp"

namespace dp {

class batch_file_entry;
class registrar;

/// One read, write or other operation on one setting instance, with its outcome. Problems are never
/// thrown: the first one stores its code in `status` (only while that is 0) and sets `complete`.
class DP_API transaction_command {
  public:
    /// A command for no setting, not run yet, for the caller to fill.
    transaction_command() = default;

    /// Builds a command from a batch line; `reg` resolves its name and may be null (nothing
    /// resolves then). The entry's status is kept when it is a number below 256.
    transaction_command(registrar* reg, batch_file_entry& entry);

    /// Builds a command for one cached instance of `target_setting`. The entry's value goes into
    /// `value_in` for a set, getv or setv, and into `value_out` for a get or setv.
    transaction_command(operations op, setting* target_setting, setting::cache::entry& entry);

    /// Completes the command as failed with `code`, unless an earlier problem left its code.
    void fail(std::int32_t code);

    /// Answers a plain read from the cache, if the value is known there.
    void setup();

    /// Lets the setting's element translate the value of a write; status 18 when it can't.
    void map_input_value();

    /// Folds the outcome of a complete command into the setting's cache.
    void finish();

    /// Writes the result line without a line end: status, correlator, tid, operation, target and
    /// both values in double quotes, nothing escaped, each followed by one blank. An empty `tid`
    /// becomes "<none>", here too.
    void write_terse_output(std::ostream& os);

    bool complete = false;          ///< needs no further work
    bool host_flags[2] = {};        ///< for the host; the library does not read them
    bool no_input_mapping = false;  ///< `client_transaction::queue` leaves the value as it is
    std::int32_t status = command_status::not_run;  ///< see command_status
    std::uint32_t correlator = 0;  ///< identifies the command within its transaction
    std::string tid = "<tid>";     ///< transaction identifier, one word
    operations operation = op_unknown;
    setting_instance target;
    std::string value_in;         ///< the value given
    std::string value_out;        ///< the value produced
    std::uint32_t host_word = 0;  ///< for the host
};

/// Writes the padded line for people; values are escaped with `add_backslash`.
DP_API std::ostream& operator<<(std::ostream& os, const transaction_command& command);

}  // namespace dp

#endif
