#include "transactions/detail_errors.hpp"

#include <array>

namespace dp {
namespace {

struct detail_message {
    std::int32_t code;
    const char* message;
};

constexpr std::array<detail_message, 5> detail_table{{
    {detail_none, ""},
    {detail_bad_credentials,
     "The user account or password entered is incorrect. Re-enter this information."},
    {detail_account_exists, "The user account entered already exists. Create a new user account."},
    {detail_password_reused,
     "The new password entered was previously used and cannot be reused. Enter a new and unique "
     "password."},
    {detail_password_weak,
     "The user password entered does not meet password security requirements."},
}};

}  // namespace

std::string contribute_error_string(detail_errors code) {
    if (code == detail_none) {
        return {};
    }
    const char* message = "";
    for (const auto& row : detail_table) {
        if (row.code == code) {
            message = row.message;
            break;
        }
    }
    return '[' + std::to_string(static_cast<std::int32_t>(code)) + ']' + message;
}

}  // namespace dp
