#ifndef DP_HOST_HISTORY_CHANGE_FLAGS_HPP
#define DP_HOST_HISTORY_CHANGE_FLAGS_HPP

#include "transactions/transaction_command.hpp"

/// What a command did. The settings owner sets these flags on the commands that it carried out, in
/// the bits that the library leaves to the host.
namespace dp_host::change_flags {

/// The command changed the value of its instance.
inline bool& changed(dp::transaction_command& command) {
    return command.host_flags[0];
}
inline bool changed(const dp::transaction_command& command) {
    return command.host_flags[0];
}

/// The command removed its instance.
inline bool& removed(dp::transaction_command& command) {
    return command.host_flags[1];
}
inline bool removed(const dp::transaction_command& command) {
    return command.host_flags[1];
}

}  // namespace dp_host::change_flags

#endif
