#include "redfish/access/pam_accounts.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <string>
#include <thread>

#include "support/file_descriptor.hpp"
#include "tests/support/local_socket.hpp"
#include "tests/support/scratch_files.hpp"

namespace {

using dp_redfish::pam_accounts;
using dp_redfish::roles;
using dp_redfish::secret_text;

class pam_accounts_test : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }

    dp_support::result<bool> check_with(const std::string& script, int patience_ms = 60'000) {
        test::write_script(helper, script);
        return check(patience_ms);
    }
    dp_support::result<bool> check(int patience_ms = 60'000) const {
        pam_accounts accounts({helper, "the-service", {}, patience_ms});
        return accounts.check("eve", secret_text(std::string_view("pass word")));
    }

    std::string helper = test::root() + "/bin/helper";
};

TEST_F(pam_accounts_test, a_program_gets_the_question_and_gives_the_verdict) {
    const std::string asked = test::root() + "/asked";
    EXPECT_TRUE(*check_with("cat > " + asked + "; echo \"$1\" >> " + asked + "; printf 1"));
    EXPECT_EQ(test::read_file(asked), std::string("eve\0pass word\0the-service\n", 26));
    EXPECT_FALSE(*check_with("cat > /dev/null; printf 0"));
}

TEST_F(pam_accounts_test, without_a_verdict_nothing_is_decided) {
    EXPECT_FALSE(check_with("cat > /dev/null; printf '?'"));
    EXPECT_FALSE(check_with("cat > /dev/null"));
    EXPECT_FALSE(check_with("exit 1"));
    EXPECT_FALSE(check_with("cat > /dev/null; printf x"));
    // Much shorter than the helper would take.
    EXPECT_FALSE(check_with("exec sleep 1000", 20));
}

TEST_F(pam_accounts_test, a_program_gets_no_other_descriptors) {
    // As a client's connection, which must end when the service closes it.
    const dp_support::file_descriptor connection(fcntl(STDIN_FILENO, F_DUPFD, 100));
    ASSERT_GE(connection.get(), 100);
    const std::string path = "/proc/$$/fd/" + std::to_string(connection.get());
    EXPECT_TRUE(*check_with("cat > /dev/null; test -e " + path + " && printf 0 || printf 1"));
}

TEST_F(pam_accounts_test, a_socket_that_accepts_nobody_is_given_up) {
    const auto listener = test::listen_at(helper, 0);
    const auto other = test::connect_to(helper);
    EXPECT_FALSE(check(20));
}

TEST_F(pam_accounts_test, a_missing_program_is_a_failure) {
    const auto checked = check();
    ASSERT_FALSE(checked);
    EXPECT_EQ(checked.reason(), "cannot start " + helper + ": No such file or directory");
}

TEST_F(pam_accounts_test, a_socket_is_asked_instead) {
    const auto listener = test::listen_at(helper, 1);
    std::string asked;
    std::thread server([&] {
        const dp_support::file_descriptor client(accept(listener.get(), nullptr, nullptr));
        std::array<char, 64> part{};
        for (ssize_t count = 0; (count = read(client.get(), part.data(), part.size())) > 0;) {
            asked.append(part.data(), static_cast<std::size_t>(count));
        }
        EXPECT_EQ(write(client.get(), "1", 1), 1);
    });
    EXPECT_TRUE(*check());
    server.join();
    EXPECT_EQ(asked, std::string("eve\0pass word\0", 14));
}

TEST_F(pam_accounts_test, zero_bytes_reach_no_helper) {
    pam_accounts accounts({helper, {}, {}});
    EXPECT_FALSE(*accounts.check(std::string("a\0b", 3), secret_text(std::string_view("x"))));
    EXPECT_FALSE(*accounts.check("a", secret_text(std::string_view("x\0y", 3))));
}

TEST_F(pam_accounts_test, the_role_is_that_of_the_first_group_that_a_user_is_in) {
    pam_accounts accounts({helper,
                           {},
                           {{"no-such-group", roles::read_only},
                            {"root", roles::operator_role},
                            {"root", roles::administrator}}});
    EXPECT_EQ(accounts.role_of("root"), roles::operator_role);
    EXPECT_FALSE(accounts.role_of("nobody"));
    EXPECT_FALSE(accounts.role_of("no-such-user"));
    EXPECT_FALSE(pam_accounts({helper, {}, {}}).role_of("root"));
}

}  // namespace
