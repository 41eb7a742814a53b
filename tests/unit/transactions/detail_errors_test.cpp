#include "transactions/detail_errors.hpp"

#include <gtest/gtest.h>

#include <climits>
#include <string>

using dp::contribute_error_string;

TEST(contribute_error_string, is_empty_without_a_detail) {
    EXPECT_EQ(contribute_error_string(dp::detail_none), "");
}

TEST(contribute_error_string, is_the_code_in_brackets_and_the_message) {
    EXPECT_EQ(contribute_error_string(dp::detail_bad_credentials),
              "[1]The user account or password entered is incorrect. Re-enter this information.");
    EXPECT_EQ(contribute_error_string(dp::detail_account_exists),
              "[2]The user account entered already exists. Create a new user account.");
    EXPECT_EQ(contribute_error_string(dp::detail_password_reused),
              "[3]The new password entered was previously used and cannot be reused. Enter a new "
              "and unique password.");
    EXPECT_EQ(contribute_error_string(dp::detail_password_weak),
              "[4]The user password entered does not meet password security requirements.");
}

TEST(contribute_error_string, has_no_message_for_an_unlisted_code) {
    for (const int code : {5, 9, -1, INT_MAX, INT_MIN}) {
        EXPECT_EQ(contribute_error_string(static_cast<dp::detail_errors>(code)),
                  '[' + std::to_string(code) + ']');
    }
}

TEST(detail_errors, have_fixed_codes) {
    EXPECT_EQ(dp::detail_none, 0);
    EXPECT_EQ(dp::detail_bad_credentials, 1);
    EXPECT_EQ(dp::detail_account_exists, 2);
    EXPECT_EQ(dp::detail_password_reused, 3);
    EXPECT_EQ(dp::detail_password_weak, 4);
}
