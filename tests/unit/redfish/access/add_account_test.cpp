#include "redfish/access/add_account.hpp"

#include <gtest/gtest.h>
#include <pty.h>
#include <unistd.h>

#include <string>
#include <thread>

#include "redfish/access/accounts_file.hpp"
#include "redfish/access/password_hash.hpp"
#include "support/file_descriptor.hpp"
#include "tests/support/process.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/support/stepped_access.hpp"

namespace {

using dp_redfish::accounts_file;
using dp_redfish::add_account;
using dp_redfish::read_new_password;
using dp_redfish::roles;
using dp_redfish::secret_text;
using dp_support::file_descriptor;

// What is read from a pipe that has `input`.
dp_support::result<secret_text> read_from_pipe(const std::string& input) {
    const auto ends = test::make_pipe();
    const file_descriptor in(ends.read_end);
    file_descriptor out(ends.write_end);
    EXPECT_EQ(write(out.get(), input.data(), input.size()), static_cast<ssize_t>(input.size()));
    out.close();
    return read_new_password(in.get(), -1);
}

TEST(read_new_password, is_the_first_line_of_a_pipe) {
    EXPECT_EQ(read_from_pipe("password 1\nrest\n")->view(), "password 1");
    EXPECT_EQ(read_from_pipe("password 1")->view(), "password 1");
}

TEST(read_new_password, names_the_rule_that_a_password_breaks) {
    EXPECT_EQ(read_from_pipe("").reason(), "the password must have 8 to 120 characters");
    EXPECT_EQ(read_from_pipe(std::string(30'000, 'x')).reason(),
              "the password must have 8 to 120 characters");
    EXPECT_EQ(read_from_pipe("pass\tword\n").reason(),
              "the password must be UTF-8 without control characters");
}

TEST(read_new_password, a_descriptor_that_cannot_be_read_is_a_failure) {
    EXPECT_FALSE(read_new_password(-1, -1));
}

// Types on a terminal and returns what it showed.
struct typed {
    dp_support::result<secret_text> read;
    std::string shown;
};

typed type_on_terminal(const std::string& first, const std::string& second) {
    int keyboard = -1;
    int screen = -1;
    EXPECT_EQ(openpty(&keyboard, &screen, nullptr, nullptr, nullptr), 0);
    const file_descriptor master(keyboard);
    file_descriptor slave(screen);
    std::string shown;
    std::thread person([&] {
        const auto wait_for = [&](const std::string& text) {
            char c = 0;
            while (shown.find(text) == std::string::npos && read(master.get(), &c, 1) == 1) {
                shown += c;
            }
        };
        wait_for("New password: ");
        EXPECT_GT(write(master.get(), first.data(), first.size()), 0);
        wait_for("Again: ");
        EXPECT_GT(write(master.get(), second.data(), second.size()), 0);
        wait_for("end");
    });
    auto read = read_new_password(slave.get(), slave.get());
    EXPECT_EQ(write(slave.get(), "end", 3), 3);
    person.join();
    return {std::move(read), shown};
}

TEST(read_new_password, is_typed_twice_without_echo) {
    const auto same = type_on_terminal("password 1\n", "password 1\n");
    ASSERT_TRUE(same.read) << same.read.reason();
    EXPECT_EQ(same.read->view(), "password 1");
    EXPECT_EQ(same.shown.find("password 1"), std::string::npos) << same.shown;
    const auto other = type_on_terminal("password 1\n", "password 2\n");
    EXPECT_EQ(other.read.reason(), "the passwords differ");
}

class add_account_test : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }
    dp_support::result<> add(const std::string& name, roles role, std::string_view password) {
        return add_account(path, name, role, secret_text(password), steps.environment(), 1);
    }
    dp_redfish::account_data on_disk() const { return accounts_file(path).read()->data; }

    std::string path = test::root() + "/var/dp/accounts.json";
    test::stepped_access steps;
};

TEST_F(add_account_test, makes_the_file_if_there_is_none) {
    const auto added = add("eve", roles::operator_role, "password 1");
    ASSERT_TRUE(added) << added.reason();
    EXPECT_EQ(on_disk().find("eve")->role, roles::operator_role);
}

TEST_F(add_account_test, an_account_that_exists_gets_password_and_role) {
    ASSERT_TRUE(add("admin", roles::administrator, "password 0"));
    ASSERT_TRUE(add("eve", roles::operator_role, "password 1"));
    ASSERT_TRUE(add("eve", roles::read_only, "password 2"));
    const auto eve = *on_disk().find("eve");
    EXPECT_EQ(eve.role, roles::read_only);
    EXPECT_TRUE(
        *dp_redfish::matches_hash(secret_text(std::string_view("password 2")), eve.password_hash));
    EXPECT_EQ(on_disk().accounts.size(), 2U);
}

TEST_F(add_account_test, the_last_administrator_keeps_the_role) {
    ASSERT_TRUE(add("admin", roles::administrator, "password 0"));
    EXPECT_EQ(add("admin", roles::read_only, "password 0").reason(),
              "this account is the last enabled administrator");
}

TEST_F(add_account_test, a_name_that_is_none_and_a_damaged_file_are_failures) {
    EXPECT_TRUE(add("a b", roles::read_only, "password 1")
                    .reason()
                    .starts_with("\"a b\" cannot be the name of an account"));
    test::write_file(path, "damaged");
    EXPECT_FALSE(add("eve", roles::read_only, "password 1"));
    EXPECT_EQ(test::read_file(path), "damaged");
}

}  // namespace
