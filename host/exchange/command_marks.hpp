#ifndef DP_HOST_EXCHANGE_COMMAND_MARKS_HPP
#define DP_HOST_EXCHANGE_COMMAND_MARKS_HPP

#include "transactions/transaction_command.hpp"

/// What the settings owner notes on a command that it carried out, in the command's flags for the
/// host.
namespace dp_host::command_marks {

/// The command changed the value of its instance.
inline bool& changed(dp::transaction_command& command) {
    return command.host_flags[0];
}
inline bool changed(const dp::transaction_command& command) {
    return command.host_flags[0];
}

/// The instance is gone since.
inline bool& removed(dp::transaction_command& command) {
    return command.host_flags[1];
}
inline bool removed(const dp::transaction_command& command) {
    return command.host_flags[1];
}

}  // namespace dp_host::command_marks

#endif
