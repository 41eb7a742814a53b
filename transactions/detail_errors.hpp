#ifndef DP_TRANSACTIONS_DETAIL_ERRORS_HPP
#define DP_TRANSACTIONS_DETAIL_ERRORS_HPP

#include <cstdint>
#include <string>

#include "common/export.hpp"

namespace dp {

/// Detailed reasons of a failed command, each with a fixed message.
enum detail_errors : std::int32_t {
    detail_none = 0,             ///< no detail
    detail_bad_credentials = 1,  ///< wrong user account or password
    detail_account_exists = 2,   ///< the user account exists already
    detail_password_reused = 3,  ///< the password was used before
    detail_password_weak = 4,    ///< the password does not meet the requirements
};

/// Returns the text that a detail error adds to a command's error output: "" for `detail_none`,
/// otherwise "[", the code, "]" and the code's message. An unlisted code has no message.
DP_API std::string contribute_error_string(detail_errors code);

}  // namespace dp

#endif
