#ifndef DP_TRANSACTIONS_BASIC_TRANSACTION_COMMAND_HPP
#define DP_TRANSACTIONS_BASIC_TRANSACTION_COMMAND_HPP

#include <cstdint>
#include <iosfwd>
#include <string>

#include "common/export.hpp"
#include "transactions/operations.hpp"

namespace dp {

/// A command that names its setting as text. The fields are those of `transaction_command`.
struct DP_API basic_transaction_command {
    std::int32_t status = 0;            ///< see command_status
    std::uint32_t correlator = 0;       ///< identifies the command within its batch
    std::string tid;                    ///< transaction identifier, one word
    operations operation = op_unknown;  ///< what is done
    std::string name;                   ///< qualified setting name
    std::string value_in;               ///< value given to the command
    std::string value_out;              ///< value produced by the command

    /// Writes the same result line as `transaction_command::write_terse_output`, with `name` as
    /// the target.
    void write_terse_output(std::ostream& os);
};

}  // namespace dp

#endif
