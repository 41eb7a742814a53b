#ifndef DP_TRANSACTIONS_TRANSACTION_COMMAND_LIST_HPP
#define DP_TRANSACTIONS_TRANSACTION_COMMAND_LIST_HPP

#include <cstdint>
#include <iosfwd>
#include <vector>

#include "common/export.hpp"

namespace dp {

class transaction_command;

/// The commands of a transaction, not owned, in execution order, with counters of their progress.
class DP_API transaction_command_list : public std::vector<transaction_command*> {
  public:
    using std::vector<transaction_command*>::vector;

    /// Numbers of commands.
    struct status {
        std::uint32_t total = 0;      ///< all commands
        std::uint32_t errors = 0;     ///< complete with a status other than 0
        std::uint32_t completed = 0;  ///< complete, failed or not
    };

    /// Counts the commands again and stores the counters in `status`.
    void update_status();

    /// The counters. Hides the type of the same name, which is therefore written `struct status`.
    struct status status;
};

/// Writes "(total,completed,errors)".
DP_API std::ostream& operator<<(std::ostream& os, const struct transaction_command_list::status& s);

}  // namespace dp

#endif
