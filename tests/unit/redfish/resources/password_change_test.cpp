#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "redfish/protocol/gateway.hpp"
#include "redfish/resources/account_routes.hpp"
#include "redfish/resources/session_routes.hpp"
#include "tests/support/access_routes.hpp"
#include "tests/support/redfish_exchange.hpp"

// What a user who must change the password can do, with real sessions.

namespace {

using dp_redfish::secret_text;
using test::redfish_response;
using testing::ElementsAre;

class password_change : public test::access_routes {
  protected:
    void SetUp() override {
        access_routes::SetUp();
        add_session_routes(routes, *access);
        add_account_routes(routes, *access);
        handler = std::make_unique<dp_redfish::gateway>(routes, *access);
    }

    void require_change(const std::string& user) {
        ASSERT_EQ(
            ask("PATCH", account_of(user), "admin", R"({"PasswordChangeRequired": true})").status,
            200U);
    }

    redfish_response log_in(const std::string& user, const std::string& password) {
        auto response =
            test::send(*handler, "POST", sessions,
                       R"({"UserName": ")" + user + R"(", "Password": ")" + password + R"("})");
        token = response.header("X-Auth-Token");
        return response;
    }

    redfish_response request(const std::string& method, const std::string& path,
                             const std::string& body = {}) {
        auto sent = test::request_of(method, path);
        sent.headers["X-Auth-Token"] = token;
        sent.body = body;
        return test::exchange(*handler, std::move(sent));
    }

    static std::string account_of(const std::string& user) {
        return "/redfish/v1/AccountService/Accounts/" + user;
    }
    static std::string action_of(const std::string& user) {
        return account_of(user) + "/Actions/ManagerAccount.ChangePassword";
    }
    static std::string change_body(const std::string& session, const std::string& wanted) {
        return R"({"SessionAccountPassword": ")" + session + R"(", "NewPassword": ")" + wanted +
               R"("})";
    }
    bool has_password(const std::string& user, const std::string& password) {
        return *dp_redfish::matches_hash(secret_text(std::string_view(password)),
                                         access->accounts().find(user)->password_hash);
    }

    std::string sessions = "/redfish/v1/SessionService/Sessions";
    std::string token;
    std::unique_ptr<dp_redfish::gateway> handler;
};

TEST_F(password_change, is_all_that_a_user_can_do_who_must_change_the_password) {
    require_change("admin");
    const auto session = log_in("admin", "admin's password");
    ASSERT_EQ(session.status, 201U);
    EXPECT_THAT(session.messages(), ElementsAre("PasswordChangeRequired"));
    for (const char* const path :
         {"/redfish/v1/SessionService/Sessions", "/redfish/v1/AccountService/Accounts",
          "/redfish/v1/AccountService", "/redfish/v1/AccountService/Accounts/eve",
          "/redfish/v1/AccountService/Accounts/nobody"}) {
        const auto refused = request("GET", path);
        EXPECT_EQ(refused.status, 403U) << path;
        EXPECT_THAT(refused.messages(), ElementsAre("PasswordChangeRequired")) << path;
        EXPECT_NE(refused.text.find("'" + account_of("admin") + "'"), std::string::npos);
    }
    EXPECT_EQ(request("PATCH", account_of("eve"), R"({"Password": "new password"})").status, 403U);
    EXPECT_EQ(request("PATCH", account_of("admin"), R"({"Enabled": true})").status, 403U);
    EXPECT_EQ(request("DELETE", account_of("eve")).status, 403U);
    EXPECT_EQ(request("GET", session.header("Location")).status, 200U);
    const auto own = request("GET", account_of("admin"));
    EXPECT_EQ(own.status, 200U);
    EXPECT_TRUE(own.body.find("PasswordChangeRequired")->truth);
}

TEST_F(password_change, makes_the_account_whole_again_in_the_same_session) {
    require_change("admin");
    log_in("admin", "admin's password");
    const auto changed = request("PATCH", account_of("admin"), R"({"Password": "new password"})");
    EXPECT_EQ(changed.status, 200U);
    EXPECT_FALSE(changed.body.find("PasswordChangeRequired")->truth);
    EXPECT_EQ(request("GET", sessions).status, 200U);
    EXPECT_EQ(log_in("admin", "admin's password").status, 401U);
    EXPECT_TRUE(log_in("admin", "new password").messages().empty());
}

TEST_F(password_change, counts_at_once_for_sessions_that_are_open) {
    log_in("eve", "eve's password");
    const std::string path = "/redfish/v1/AccountService";
    EXPECT_EQ(request("GET", path).status, 200U);
    require_change("eve");
    EXPECT_EQ(request("GET", path).status, 403U);
    EXPECT_EQ(
        request("POST", action_of("eve"), change_body("eve's password", "new password")).status,
        204U);
    EXPECT_EQ(request("GET", path).status, 200U);
}

TEST_F(password_change, needs_the_password_of_the_one_who_sends_the_action) {
    log_in("eve", "eve's password");
    const auto wrong = request("POST", action_of("eve"), change_body("wrong", "new password"));
    EXPECT_EQ(wrong.status, 400U);
    EXPECT_THAT(wrong.messages(), ElementsAre("ActionParameterValueError"));
    EXPECT_THAT(wrong.pointers(), ElementsAre("/SessionAccountPassword"));
    EXPECT_EQ(lines.count("by=ChangePassword"), 1U);
    EXPECT_EQ(
        request("POST", action_of("bob"), change_body("eve's password", "new password")).status,
        403U);
    EXPECT_TRUE(has_password("eve", "eve's password"));
    log_in("admin", "admin's password");
    EXPECT_EQ(
        request("POST", action_of("eve"), change_body("admin's password", "new password")).status,
        204U);
    EXPECT_TRUE(has_password("eve", "new password"));
    EXPECT_EQ(request("POST", action_of("nobody"), change_body("admin's password", "new password"))
                  .status,
              404U);
    EXPECT_EQ(lines.count("new password"), 0U);
}

TEST_F(password_change, with_wrong_guesses_locks_the_account) {
    log_in("eve", "eve's password");
    for (int i = 0; i < 5; ++i) {
        request("POST", action_of("eve"), change_body("wrong", "new password"));
    }
    EXPECT_EQ(
        request("POST", action_of("eve"), change_body("eve's password", "new password")).status,
        400U);
    EXPECT_TRUE(has_password("eve", "eve's password"));
}

TEST_F(password_change, names_every_wrong_parameter) {
    log_in("eve", "eve's password");
    const auto messages = [&](const std::string& body) {
        return request("POST", action_of("eve"), body).messages();
    };
    EXPECT_THAT(messages("{}"), ElementsAre("ActionParameterMissing", "ActionParameterMissing"));
    EXPECT_THAT(messages(R"({"NewPassword": 1, "SessionAccountPassword": null, "X": 1})"),
                ElementsAre("ActionParameterValueTypeError", "ActionParameterValueTypeError",
                            "ActionParameterUnknown"));
    EXPECT_THAT(messages(change_body("eve's password", "short")),
                ElementsAre("PasswordIncorrectLength"));
    EXPECT_THAT(messages(change_body("eve's password", "control\\u0007character")),
                ElementsAre("ActionParameterValueError"));
    EXPECT_EQ(lines.count("by=ChangePassword"), 0U);
}

TEST_F(password_change, can_be_required_of_a_new_account) {
    const auto made = ask("POST", "/redfish/v1/AccountService/Accounts", "admin",
                          R"({"UserName": "carol", "Password": "carol's password",
                              "RoleId": "ReadOnly", "PasswordChangeRequired": true})");
    ASSERT_EQ(made.status, 201U) << text_of(made);
    EXPECT_TRUE(member(made, "PasswordChangeRequired").truth);
    EXPECT_EQ(member(made, "Actions").items.size(), 1U);
    EXPECT_THAT(log_in("carol", "carol's password").messages(),
                ElementsAre("PasswordChangeRequired"));
}

}  // namespace
