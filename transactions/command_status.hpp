#ifndef DP_TRANSACTIONS_COMMAND_STATUS_HPP
#define DP_TRANSACTIONS_COMMAND_STATUS_HPP

#include <cstdint>

namespace dp {

/// Status codes of commands that the library sets or interprets. Plug-ins and elements may use any
/// other code from 1 to 254 for their own reasons.
namespace command_status {
inline constexpr std::int32_t success = 0;            ///< done
inline constexpr std::int32_t unresolved = 16;        ///< no setting has that name
inline constexpr std::int32_t no_owner = 17;          ///< no plug-in serves the setting
inline constexpr std::int32_t value_not_mapped = 18;  ///< the element could not map the value
inline constexpr std::int32_t value_cut = 19;         ///< the value read was too long and was cut
inline constexpr std::int32_t not_answered = 21;      ///< the owning plug-in did not answer
inline constexpr std::int32_t value_not_known = 32;   ///< the value is no longer known
inline constexpr std::int32_t unknown_operation =
    224;  ///< not an operation, or not allowed in this call
inline constexpr std::int32_t delete_not_permitted = 226;  ///< the setting cannot be deleted
inline constexpr std::int32_t not_run = 255;               ///< not executed
}  // namespace command_status

}  // namespace dp

#endif
