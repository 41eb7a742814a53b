#include "redfish/access/first_account.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "redfish/access/accounts_file.hpp"
#include "redfish/access/add_account.hpp"
#include "redfish/access/password_hash.hpp"
#include "tests/support/file_size_limit.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/support/stepped_access.hpp"

namespace {

using dp_redfish::accounts_file;
using dp_redfish::first_password_path;
using dp_redfish::make_first_account;
using dp_redfish::secret_text;

class make_first_account_test : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }
    std::string path = test::root() + "/var/dp/accounts.json";
    test::stepped_access steps;
};

TEST_F(make_first_account_test, an_administrator_has_the_password_of_the_file) {
    const auto made = make_first_account(path, steps.environment(), 1);
    ASSERT_TRUE(made) << made.reason();
    EXPECT_TRUE(*made);
    const auto content = accounts_file(path).read();
    ASSERT_TRUE(content) << content.reason();
    ASSERT_EQ(content->data.accounts.size(), 1U);
    const dp_redfish::account& first = content->data.accounts.front();
    EXPECT_EQ(first.name, "admin");
    EXPECT_EQ(first.role, dp_redfish::roles::administrator);
    EXPECT_TRUE(first.enabled);
    std::string password = test::read_file(first_password_path(path));
    ASSERT_TRUE(password.ends_with('\n'));
    password.pop_back();
    EXPECT_EQ(password.size(), 29U);
    EXPECT_TRUE(*matches_hash(secret_text(std::string_view(password)), first.password_hash));
    struct stat info {};
    ASSERT_EQ(stat(first_password_path(path).c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0600U);
}

TEST_F(make_first_account_test, what_is_there_is_left_as_it_is) {
    test::write_file(path, "damaged");
    const auto made = make_first_account(path, steps.environment(), 1);
    ASSERT_TRUE(made);
    EXPECT_FALSE(*made);
    EXPECT_EQ(test::read_file(path), "damaged");
    EXPECT_EQ(test::read_file(first_password_path(path)), "");
}

TEST_F(make_first_account_test, the_file_of_a_password_that_was_changed_is_removed) {
    ASSERT_TRUE(*make_first_account(path, steps.environment(), 1));
    const std::string password = test::read_file(first_password_path(path));
    EXPECT_FALSE(*make_first_account(path, steps.environment(), 1));
    EXPECT_EQ(test::read_file(first_password_path(path)), password) << "it is the password";
    ASSERT_TRUE(add_account(path, "admin", dp_redfish::roles::administrator,
                            secret_text(std::string_view("another password")), steps.environment(),
                            1));
    // As when the process was killed before it removed the file.
    test::write_file(first_password_path(path), password);
    EXPECT_FALSE(*make_first_account(path, steps.environment(), 1));
    EXPECT_EQ(test::read_file(first_password_path(path)), "");
}

TEST_F(make_first_account_test, the_folder_is_made_for_this_user_alone) {
    const std::string folder = test::root() + "/var/new";
    const auto made = make_first_account(folder + "/accounts.json", steps.environment(), 1);
    ASSERT_TRUE(made) << made.reason();
    struct stat info {};
    ASSERT_EQ(stat(folder.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0700U);
    EXPECT_FALSE(make_first_account(test::root() + "/no/where/accounts.json", steps.environment()));
}

TEST_F(make_first_account_test, on_a_full_disk_there_is_no_account) {
    {
        const test::file_size_limit full(4);
        EXPECT_FALSE(make_first_account(path, steps.environment(), 1));
    }
    EXPECT_EQ(accounts_file(path).present_version(), accounts_file::version());
    EXPECT_TRUE(*make_first_account(path, steps.environment(), 1));
}

TEST_F(make_first_account_test, needs_random_numbers) {
    steps.random_fails = true;
    EXPECT_FALSE(make_first_account(path, steps.environment(), 1));
    EXPECT_EQ(accounts_file(path).present_version(), accounts_file::version());
}

TEST(random_password, differs_each_time_and_may_become_a_password) {
    test::stepped_access steps;
    const auto one = dp_redfish::random_password(steps.environment());
    const auto other = dp_redfish::random_password(steps.environment());
    ASSERT_TRUE(one);
    ASSERT_TRUE(other);
    EXPECT_NE(one->view(), other->view());
    EXPECT_EQ(dp_redfish::check_new_password(one->view()), dp_redfish::password_problem::none);
}

}  // namespace
