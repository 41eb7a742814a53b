#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "redfish/access/pam_accounts.hpp"
#include "tests/support/program.hpp"
#include "tests/support/scratch_files.hpp"

// The real dp_redfish_auth with the real libpam, whose rules and users pam_wrapper replaces.

namespace {

using dp_redfish::pam_accounts;
using dp_redfish::secret_text;

const std::string wrapper_folder = "/usr/lib/" DP_LIBRARY_ARCHITECTURE;

class redfish_auth : public testing::Test {
  protected:
    void SetUp() override {
        test::clean_root();
        matrix = wrapper_folder + "/pam_wrapper/pam_matrix.so";
        if (access(test::program_path("dp_redfish_auth").c_str(), X_OK) != 0) {
            GTEST_SKIP() << "dp_redfish_auth is not built, for want of PAM's headers";
        }
        const std::string wrapper = wrapper_folder + "/libpam_wrapper.so";
        if (access(matrix.c_str(), R_OK) != 0 || access(wrapper.c_str(), R_OK) != 0) {
            GTEST_SKIP() << "libpam-wrapper is not installed";
        }
#ifdef __SANITIZE_ADDRESS__
        GTEST_SKIP() << "the sanitizers and pam_wrapper do not load together";
#endif
        rules = test::root() + "/pam.d";
        ASSERT_EQ(mkdir(rules.c_str(), 0755), 0);
        test::write_file(users,
                         "eve:right password:dp-redfish\n"
                         "zoe:another one:other-service\n");
        put_rules("dp-redfish");
        put_rules("other-service");
        test::write_script(
            helper, "export LD_PRELOAD=" + wrapper + " PAM_WRAPPER=1 PAM_WRAPPER_SERVICE_DIR=" +
                        rules + "\nexec " + test::program_path("dp_redfish_auth") + " \"$@\"");
    }

    void put_rules(const std::string& service) const {
        test::write_file(rules + "/" + service, "auth required " + matrix + " passdb=" + users +
                                                    "\naccount required " + matrix +
                                                    " passdb=" + users + "\n");
    }

    dp_support::result<bool> check(const std::string& user, std::string_view password,
                                   const std::string& service = {}) const {
        return pam_accounts({helper, service, {}}).check(user, secret_text(password));
    }

    std::string users = test::root() + "/users";
    std::string helper = test::root() + "/bin/helper";
    std::string rules;
    std::string matrix;
};

TEST_F(redfish_auth, says_whether_a_password_is_right) {
    const auto right = check("eve", "right password");
    ASSERT_TRUE(right) << right.reason();
    EXPECT_TRUE(*right);
    EXPECT_FALSE(*check("eve", "wrong password"));
    EXPECT_FALSE(*check("eve", ""));
    EXPECT_FALSE(*check("nobody", "right password"));
}

TEST_F(redfish_auth, uses_the_rules_of_the_service) {
    EXPECT_FALSE(*check("zoe", "another one"));
    EXPECT_TRUE(*check("zoe", "another one", "other-service"));
}

TEST_F(redfish_auth, a_question_that_is_none_is_no) {
    EXPECT_FALSE(*check("", "right password"));
    EXPECT_FALSE(*check(std::string(5000, 'x'), "right password"));
    const auto unasked = test::run_program("dp_redfish_auth", {});
    EXPECT_EQ(unasked.out, "0");
    EXPECT_EQ(unasked.exit_code, 0);
}

TEST_F(redfish_auth, more_than_one_argument_is_wrong_usage) {
    EXPECT_EQ(test::run_program("dp_redfish_auth", {"a", "b"}).exit_code, 2);
}

}  // namespace
