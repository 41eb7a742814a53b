#include "redfish/access/external_accounts.hpp"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "redfish/resources/account_routes.hpp"
#include "redfish/resources/session_routes.hpp"
#include "tests/support/access_routes.hpp"

namespace {

using dp_redfish::answer;
using dp_redfish::roles;

// Accounts in memory.
class listed_accounts final : public dp_redfish::external_accounts {
  public:
    std::vector<external_account> list() override {
        std::vector<external_account> all;
        for (const auto& [name, role] : roles_of) {
            all.push_back({name, role});
        }
        return all;
    }
    std::optional<roles> role_of(const std::string& user) override {
        const auto found = roles_of.find(user);
        return found == roles_of.end() ? std::nullopt : std::optional(found->second);
    }
    dp_support::result<bool> check(const std::string& /*user*/,
                                   const dp_redfish::secret_text& password) override {
        if (fails) {
            return dp_support::failure{"cannot decide", 0};
        }
        return password.view() == "right password";
    }

    std::map<std::string, roles> roles_of;
    bool fails = false;
};

// Changes of `accounts` are made between requests, whose answers were received.
class external_accounts_test : public test::access_routes {
  protected:
    void SetUp() override {
        test::access_routes::SetUp();
        accounts->roles_of = {{"zoe", roles::operator_role}, {"eve", roles::administrator}};
        access.reset();
        auto started = dp_redfish::password_access_control::start(
            {path, lines.writer(), steps.environment(), 1, 4, {5, 4}, accounts});
        ASSERT_TRUE(started) << started.reason();
        access = std::move(*started);
        add_session_routes(routes, *access);
        add_account_routes(routes, *access);
    }

    answer log_in(const std::string& user, const std::string& password) {
        return ask("POST", "/redfish/v1/SessionService/Sessions", "",
                   R"({"UserName": ")" + user + R"(", "Password": ")" + password + R"("})");
    }
    static std::string of(const std::string& user) {
        return "/redfish/v1/AccountService/Accounts/" + user;
    }

    std::shared_ptr<listed_accounts> accounts = std::make_shared<listed_accounts>();
};

TEST_F(external_accounts_test, a_user_with_a_role_logs_in) {
    const answer made = log_in("zoe", "right password");
    ASSERT_EQ(made.status, 201U) << text_of(made);
    EXPECT_EQ(access->sessions().use(made.headers.at("X-Auth-Token"))->role, roles::operator_role);
    EXPECT_EQ(log_in("zoe", "wrong password").status, 401U);
    EXPECT_EQ(log_in("yan", "right password").status, 401U);
}

TEST_F(external_accounts_test, an_account_of_the_file_comes_first) {
    EXPECT_EQ(log_in("eve", "right password").status, 401U);
    const answer made = log_in("eve", "eve's password");
    ASSERT_EQ(made.status, 201U);
    EXPECT_EQ(access->sessions().use(made.headers.at("X-Auth-Token"))->role, roles::operator_role);
}

TEST_F(external_accounts_test, failures_lock_them_too) {
    for (int i = 0; i < 5; ++i) {
        log_in("zoe", "wrong password");
    }
    EXPECT_EQ(log_in("zoe", "right password").status, 401U);
    EXPECT_TRUE(member(ask("GET", of("zoe"), "admin"), "Locked").truth);
    EXPECT_EQ(ask("PATCH", of("zoe"), "admin", R"({"Locked": false})").status, 200U);
    EXPECT_EQ(log_in("zoe", "right password").status, 201U);
}

TEST_F(external_accounts_test, one_who_loses_the_role_loses_the_sessions_at_the_next_login) {
    const std::string token = log_in("zoe", "right password").headers.at("X-Auth-Token");
    accounts->roles_of["zoe"] = roles::read_only;
    steps.advance(std::chrono::seconds(60));
    EXPECT_EQ(member(log_in("zoe", "right password"), "Roles").items.at(0).text, "ReadOnly");
    EXPECT_FALSE(access->sessions().use(token));
    accounts->roles_of.erase("zoe");
    steps.advance(std::chrono::seconds(60));
    EXPECT_EQ(log_in("zoe", "right password").status, 401U);
    EXPECT_TRUE(access->sessions().list().empty());
}

TEST_F(external_accounts_test, a_password_that_cannot_be_checked_is_answered_as_unavailable) {
    accounts->fails = true;
    EXPECT_EQ(log_in("zoe", "right password").status, 503U);
    EXPECT_FALSE(access->is_locked("zoe"));
    EXPECT_EQ(lines.count("cannot decide"), 1U);
}

TEST_F(external_accounts_test, they_are_listed_and_read_only) {
    EXPECT_EQ(
        member(ask("GET", "/redfish/v1/AccountService/Accounts", "admin"), "Members@odata.count")
            .integer,
        4);
    EXPECT_EQ(member(ask("GET", of("zoe"), "admin"), "RoleId").text, "Operator");
    EXPECT_EQ(ask("GET", of("yan"), "admin").status, 404U);
    const answer refused =
        ask("PATCH", of("zoe"), "admin", R"({"Password": "new password", "RoleId": "ReadOnly"})");
    EXPECT_EQ(refused.status, 400U);
    EXPECT_EQ(message_ids(refused), "PropertyNotWritable PropertyNotWritable");
    EXPECT_EQ(ask("PATCH", of("yan"), "admin", R"({"Enabled": false})").status, 404U);
    EXPECT_EQ(ask("DELETE", of("zoe"), "admin").status, 409U);
    EXPECT_EQ(ask("DELETE", of("yan"), "admin").status, 404U);
    EXPECT_EQ(ask("POST", "/redfish/v1/AccountService/Accounts", "admin",
                  R"({"UserName": "zoe", "Password": "new password", "RoleId": "ReadOnly"})")
                  .status,
              409U);
}

}  // namespace
