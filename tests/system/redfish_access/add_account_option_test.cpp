#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "redfish/access/accounts_file.hpp"
#include "redfish/access/password_hash.hpp"
#include "tests/support/process.hpp"
#include "tests/support/program.hpp"
#include "tests/support/scratch_files.hpp"

namespace {

using dp_redfish::accounts_file;

class add_account_option : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }

    // Runs dp_redfishd with `password` as its standard input.
    test::program_result add(const std::vector<std::string>& arguments,
                             const std::string& password) {
        const std::string script = test::root() + "/bin/add";
        test::write_file(test::root() + "/input", password);
        test::write_script(script, "exec " + test::program_path("dp_redfishd") + " \"$@\" < " +
                                       test::root() + "/input");
        return test::run_program(script, arguments);
    }

    std::string folder = test::root() + "/state";
    std::string path = folder + "/accounts.json";
};

TEST_F(add_account_option, adds_an_account_and_changes_it) {
    const auto added = add({"--state-folder", folder, "--add-account", "eve", "--role", "Operator"},
                           "password 1\n");
    ASSERT_EQ(added.exit_code, 0) << added.err;
    EXPECT_EQ(added.out + added.err, "");
    auto content = accounts_file(path).read();
    ASSERT_TRUE(content) << content.reason();
    ASSERT_NE(content->data.find("eve"), nullptr);
    EXPECT_EQ(content->data.find("eve")->role, dp_redfish::roles::operator_role);
    const auto changed =
        add({"--accounts", path, "--add-account", "eve", "--role", "Administrator"}, "password 2");
    ASSERT_EQ(changed.exit_code, 0) << changed.err;
    content = accounts_file(path).read();
    ASSERT_TRUE(content) << content.reason();
    EXPECT_TRUE(*dp_redfish::matches_hash(dp_redfish::secret_text(std::string_view("password 2")),
                                          content->data.find("eve")->password_hash));
    EXPECT_EQ(content->data.accounts.size(), 1U);
}

TEST_F(add_account_option, says_what_is_wrong) {
    const auto weak =
        add({"--state-folder", folder, "--add-account", "eve", "--role", "Operator"}, "short\n");
    EXPECT_EQ(weak.exit_code, 1);
    EXPECT_EQ(weak.err, "dp_redfishd: the password must have 8 to 120 characters\n");
    const auto name =
        add({"--state-folder", folder, "--add-account", "a b", "--role", "Operator"}, "password 1");
    EXPECT_EQ(name.exit_code, 1);
    EXPECT_EQ(add({"--add-account", "eve"}, "password 1").exit_code, 2);
    EXPECT_EQ(add({"--role", "Operator"}, "password 1").exit_code, 2);
    EXPECT_EQ(add({"--add-account", "eve", "--role", "King"}, "password 1").exit_code, 2);
    EXPECT_EQ(accounts_file(path).present_version(), accounts_file::version());
}

TEST_F(add_account_option, a_damaged_file_stays_as_it_is) {
    ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
    test::write_file(path, "damaged");
    ASSERT_EQ(chmod(path.c_str(), 0600), 0);
    const auto added =
        add({"--state-folder", folder, "--add-account", "eve", "--role", "Operator"}, "password 1");
    EXPECT_EQ(added.exit_code, 1);
    EXPECT_TRUE(added.err.starts_with("dp_redfishd: " + path + ": line 1: ")) << added.err;
    EXPECT_EQ(test::read_file(path), "damaged");
}

}  // namespace
