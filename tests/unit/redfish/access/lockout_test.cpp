#include "redfish/access/lockout.hpp"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/stepped_access.hpp"

namespace {

using dp_redfish::access_policy;
using dp_redfish::lockout;
using std::chrono::seconds;

class lockout_test : public testing::Test {
  protected:
    bool fail(const std::string& user, int times, bool has_account = true) {
        bool locked = false;
        for (int i = 0; i < times; ++i) {
            locked = failures.count_failure(user, has_account, policy);
        }
        return locked;
    }

    test::stepped_access steps;
    lockout failures{steps.environment()};
    access_policy policy;  // 5 failures, 300 s
};

TEST_F(lockout_test, the_fifth_failure_locks_for_five_minutes) {
    EXPECT_FALSE(fail("a", 4));
    EXPECT_FALSE(failures.is_locked("a", policy));
    EXPECT_TRUE(fail("a", 1));
    EXPECT_TRUE(failures.is_locked("a", policy));
    EXPECT_FALSE(failures.is_locked("b", policy));
    steps.advance(seconds(299));
    EXPECT_TRUE(failures.is_locked("a", policy));
    steps.advance(seconds(1));
    EXPECT_FALSE(failures.is_locked("a", policy));
}

TEST_F(lockout_test, after_a_lock_counting_begins_again) {
    policy.lockout_reset_after = seconds(300);
    fail("a", 5);
    steps.advance(seconds(300));
    EXPECT_FALSE(fail("a", 4));
    EXPECT_TRUE(fail("a", 1));
}

TEST_F(lockout_test, failures_are_forgotten_after_a_while_without_one) {
    fail("a", 4);
    steps.advance(seconds(299));
    EXPECT_TRUE(fail("a", 1));
    fail("b", 4);
    steps.advance(seconds(300));
    EXPECT_FALSE(fail("b", 4));
}

TEST_F(lockout_test, a_login_forgets_failures_and_lock) {
    fail("a", 4);
    failures.clear("a");
    EXPECT_FALSE(fail("a", 4));
    fail("a", 1);
    failures.clear("a");
    EXPECT_FALSE(failures.is_locked("a", policy));
}

TEST_F(lockout_test, a_threshold_or_a_duration_of_zero_locks_nothing) {
    policy.lockout_threshold = 0;
    EXPECT_FALSE(fail("a", 100));
    EXPECT_FALSE(failures.is_locked("a", policy));
    policy.lockout_threshold = 5;
    policy.lockout_duration = seconds(0);
    EXPECT_FALSE(fail("a", 100));
    EXPECT_FALSE(failures.is_locked("a", policy));
}

TEST_F(lockout_test, names_without_an_account_are_locked_too) {
    EXPECT_TRUE(fail("nobody", 5, false));
    EXPECT_TRUE(failures.is_locked("nobody", policy));
}

TEST_F(lockout_test, many_names_without_account_push_out_no_account) {
    fail("account", 5);
    fail("nobody", 5, false);
    for (std::size_t i = 0; i < lockout::unknown_names_limit; ++i) {
        steps.advance(seconds(i == 0 ? 1 : 0));
        fail("x" + std::to_string(i), 1, false);
    }
    EXPECT_TRUE(failures.is_locked("account", policy));
    EXPECT_FALSE(failures.is_locked("nobody", policy));
}

TEST_F(lockout_test, a_name_that_gets_an_account_is_no_longer_counted_as_unknown) {
    for (int round = 0; round < 3; ++round) {
        fail("a", 1, false);
        fail("a", 1, true);
        failures.clear("a");
    }
    for (std::size_t i = 0; i < lockout::unknown_names_limit; ++i) {
        fail("x" + std::to_string(i), 4, false);
    }
    EXPECT_TRUE(fail("x0", 1, false));
}

}  // namespace
