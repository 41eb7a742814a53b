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

/// A read, write or other operation on a setting instance, with its outcome. Problems are not
/// thrown: each sets `complete` and, if `status` is still 0, stores its code there.
class DP_API transaction_command {
  public:
    /// An empty command with status 255. The caller sets its data.
    transaction_command() = default;

    /// Builds a command from a batch file entry. `reg` resolves its name; without a registrar no
    /// name resolves. The entry's status is taken over if it is a number below 256. If it is not,
    /// as in a malformed line, the status is 255 and `complete` may be false: look at both before
    /// executing a command.
    transaction_command(registrar* reg, batch_file_entry& entry);

    /// Builds a command for a cached instance of `target_setting`, which is not owned. The entry's
    /// value is copied to `value_in` for a set, getv or setv, and to `value_out` for a get or setv.
    transaction_command(operations op, setting* target_setting, setting::cache::entry& entry);

    /// Sets `complete` and, if `status` is still 0, sets it to `code`.
    void fail(std::int32_t code);

    /// Completes a plain read (get, not getv) from the cache, if the value is known. In step 1 of a
    /// transaction this happens for all commands before any of them is executed.
    void setup();

    /// Lets the setting's element map the value of a write; status 18 when it cannot.
    void map_input_value();

    /// Updates the setting's cache with the outcome of a complete command: the output value of a
    /// get, getv or setv, the input value of a set; status 32 marks the value as not known. Deletes
    /// and all other operations leave the cache as it is, so their plug-in updates it.
    void finish();

    /// Writes the result line without a newline: status, correlator, tid, operation, target and
    /// both values in double quotes, each followed by a space. Nothing is escaped. First sets an
    /// empty `tid` to "<none>".
    void write_terse_output(std::ostream& os);

    bool complete = false;          ///< needs no further work
    bool host_flags[2] = {};        ///< for the host; not read by the library
    bool no_input_mapping = false;  ///< `client_transaction::queue` does not map the value
    std::int32_t status = command_status::not_run;  ///< see command_status
    std::uint32_t correlator = 0;       ///< identifies the command within its transaction
    std::string tid = "<tid>";          ///< transaction identifier, one word
    operations operation = op_unknown;  ///< what is done
    setting_instance target;            ///< with which setting
    std::string value_in;               ///< value given to the command
    std::string value_out;              ///< value produced by the command
    std::uint32_t host_word = 0;        ///< for the host
};

/// Writes the same items padded to columns, without a newline. Values are escaped with
/// `add_backslash`.
DP_API std::ostream& operator<<(std::ostream& os, const transaction_command& command);

}  // namespace dp

#endif
