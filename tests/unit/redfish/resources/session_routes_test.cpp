#include "redfish/resources/session_routes.hpp"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/access_routes.hpp"
#include "tests/support/file_size_limit.hpp"
#include "tests/support/schema_members.hpp"

namespace {

using dp_redfish::answer;

class session_routes : public test::access_routes {
  protected:
    void SetUp() override {
        access_routes::SetUp();
        add_session_routes(routes, *access);
    }

    answer log_in(const std::string& user, const std::string& password = {}) {
        const std::string text = password.empty() ? user + "'s password" : password;
        return ask("POST", sessions, "",
                   R"({"UserName": ")" + user + R"(", "Password": ")" + text + R"("})");
    }

    std::string service = "/redfish/v1/SessionService";
    std::string sessions = service + "/Sessions";
};

TEST_F(session_routes, a_login_answers_with_the_session_and_its_token) {
    const answer made = log_in("eve");
    ASSERT_EQ(made.status, 201U) << text_of(made);
    EXPECT_EQ(made.headers.at("Location"), sessions + "/" + member(made, "Id").text);
    EXPECT_EQ(made.headers.at("X-Auth-Token").size(), 64U);
    EXPECT_EQ(member(made, "UserName").text, "eve");
    EXPECT_NE(made.body.find("Password"), nullptr);
    EXPECT_EQ(member(made, "Password").kind, dp_support::json_kind::null);
    EXPECT_EQ(member(made, "CreatedTime").text, "2026-03-01T00:00:00Z");
    EXPECT_EQ(member(made, "ClientOriginIPAddress").text, "192.0.2.7");
    EXPECT_EQ(member(made, "Roles").items.at(0).text, "Operator");
    EXPECT_EQ(text_of(made).find(made.headers.at("X-Auth-Token")), std::string::npos);
    EXPECT_TRUE(access->sessions().use(made.headers.at("X-Auth-Token")));
}

TEST_F(session_routes, the_collection_has_a_second_path_for_logins) {
    EXPECT_EQ(ask("POST", sessions + "/Members", "",
                  R"({"UserName": "eve", "Password": "eve's password", "Context": "a page"})")
                  .status,
              201U);
    EXPECT_EQ(access->sessions().list().at(0).context, "a page");
}

TEST_F(session_routes, wrong_and_locked_logins_have_the_same_answer) {
    const answer wrong = log_in("eve", "wrong");
    EXPECT_EQ(wrong.status, 401U);
    EXPECT_TRUE(wrong.headers.at("WWW-Authenticate").starts_with("Basic "));
    EXPECT_FALSE(wrong.headers.contains("X-Auth-Token"));
    const answer unknown = log_in("nobody", "wrong");
    for (int i = 0; i < 5; ++i) {
        log_in("eve", "wrong");
    }
    const answer locked = log_in("eve");
    EXPECT_EQ(locked.status, 401U);
    EXPECT_EQ(text_of(wrong), text_of(unknown));
    EXPECT_EQ(text_of(wrong), text_of(locked));
}

TEST_F(session_routes, a_page_in_a_browser_gets_no_challenge) {
    const answer refused = ask("POST", sessions, "", R"({"UserName": "eve", "Password": "wrong"})",
                               {{"Sec-Fetch-Mode", "cors"}});
    EXPECT_EQ(refused.status, 401U);
    EXPECT_FALSE(refused.headers.contains("WWW-Authenticate"));
}

TEST_F(session_routes, a_malformed_login_names_every_problem) {
    const answer missing = ask("POST", sessions, "", "{}");
    EXPECT_EQ(missing.status, 400U);
    EXPECT_EQ(message_ids(missing), "PropertyMissing PropertyMissing");
    const answer types =
        ask("POST", sessions, "", R"({"UserName": 1, "Password": ["secret"], "King": 1})");
    EXPECT_EQ(types.status, 400U);
    EXPECT_EQ(message_ids(types), "PropertyValueTypeError PropertyValueTypeError PropertyUnknown");
    EXPECT_EQ(text_of(types).find("secret"), std::string::npos) << text_of(types);
    EXPECT_EQ(ask("POST", sessions, "",
                  R"({"UserName": "eve", "Password": "eve's password", "Context": ")" +
                      std::string(129, 'x') + R"("})")
                  .status,
              400U);
    EXPECT_TRUE(access->sessions().list().empty());
}

TEST_F(session_routes, too_many_sessions_are_refused) {
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(log_in("eve").status, 201U);
    }
    const answer refused = log_in("eve");
    EXPECT_EQ(refused.status, 503U);
    EXPECT_EQ(message_ids(refused), "SessionLimitExceeded");
    EXPECT_TRUE(refused.headers.contains("Retry-After"));
}

TEST_F(session_routes, a_user_sees_own_sessions_and_an_administrator_all) {
    log_in("eve");
    log_in("bob");
    EXPECT_EQ(member(ask("GET", sessions, "eve"), "Members@odata.count").integer, 1);
    EXPECT_EQ(member(ask("GET", sessions, "admin"), "Members@odata.count").integer, 2);
    const std::string of_bob =
        member(ask("GET", sessions, "bob"), "Members").items.at(0).find("@odata.id")->text;
    EXPECT_EQ(ask("GET", of_bob, "bob").status, 200U);
    EXPECT_EQ(ask("GET", of_bob, "admin").status, 200U);
    EXPECT_EQ(ask("GET", of_bob, "eve").status, 403U);
    EXPECT_EQ(ask("GET", sessions + "/none", "eve").status, 404U);
}

TEST_F(session_routes, a_user_ends_own_sessions_and_an_administrator_all) {
    const std::string of_bob = log_in("bob").headers.at("Location");
    EXPECT_EQ(ask("DELETE", of_bob, "eve").status, 403U);
    EXPECT_EQ(ask("DELETE", of_bob, "bob").status, 204U);
    EXPECT_EQ(ask("DELETE", of_bob, "bob").status, 404U);
    const std::string another = log_in("bob").headers.at("Location");
    EXPECT_EQ(ask("DELETE", another, "admin").status, 204U);
    EXPECT_EQ(lines.count("reason=\"ended by admin\""), 1U);
    EXPECT_TRUE(access->sessions().list().empty());
}

TEST_F(session_routes, the_timeout_can_be_changed_by_an_administrator) {
    EXPECT_EQ(ask("PATCH", service, "eve", R"({"SessionTimeout": 60})").status, 403U);
    const std::string token = log_in("eve").headers.at("X-Auth-Token");
    const answer changed = ask("PATCH", service, "admin", R"({"SessionTimeout": 60})");
    EXPECT_EQ(changed.status, 200U) << text_of(changed);
    EXPECT_EQ(member(changed, "SessionTimeout").integer, 60);
    EXPECT_EQ(member(ask("GET", service, "bob"), "SessionTimeout").integer, 60);
    steps.advance(std::chrono::seconds(60));
    EXPECT_FALSE(access->sessions().use(token));
}

TEST_F(session_routes, a_timeout_out_of_range_is_refused) {
    for (const char* const value : {"29", "86401", "-1", "99999999999999999999999"}) {
        const answer refused =
            ask("PATCH", service, "admin", std::string(R"({"SessionTimeout": )") + value + "}");
        EXPECT_EQ(refused.status, 400U) << value;
        EXPECT_EQ(message_ids(refused), "PropertyValueOutOfRange") << value;
    }
    for (const char* const value : {"\"60\"", "60.5", "null", "true", "[]"}) {
        const answer refused =
            ask("PATCH", service, "admin", std::string(R"({"SessionTimeout": )") + value + "}");
        EXPECT_EQ(message_ids(refused), "PropertyValueTypeError") << value;
    }
    EXPECT_EQ(message_ids(ask("PATCH", service, "admin", R"({"Id": "x", "King": 1})")),
              "PropertyNotWritable PropertyUnknown");
}

TEST_F(session_routes, members_that_cannot_be_set_are_annotated_when_others_are) {
    const answer changed = ask("PATCH", service, "admin", R"({"SessionTimeout": 61, "King": 1})");
    EXPECT_EQ(changed.status, 200U);
    EXPECT_EQ(member(changed, "SessionTimeout").integer, 61);
    EXPECT_EQ(member(changed, "@Message.ExtendedInfo").items.size(), 1U);
}

TEST_F(session_routes, an_administrator_limits_the_time_of_all_sessions) {
    const answer shown = ask("GET", service, "bob");
    EXPECT_FALSE(member(shown, "AbsoluteSessionTimeoutEnabled").truth);
    EXPECT_EQ(member(shown, "AbsoluteSessionTimeout").integer, 86400);
    const answer changed =
        ask("PATCH", service, "admin",
            R"({"AbsoluteSessionTimeout": 60, "AbsoluteSessionTimeoutEnabled": true})");
    EXPECT_EQ(changed.status, 200U);
    EXPECT_EQ(member(changed, "AbsoluteSessionTimeout").integer, 60);
    EXPECT_EQ(member(changed, "SessionTimeout").integer, 1800);
    ASSERT_EQ(log_in("eve").status, 201U);
    steps.advance(std::chrono::seconds(60));
    EXPECT_TRUE(access->sessions().list().empty());
    EXPECT_EQ(message_ids(ask("PATCH", service, "admin",
                              R"({"AbsoluteSessionTimeout": 29, "SessionTimeout": 86401})")),
              "PropertyValueOutOfRange PropertyValueOutOfRange");
}

TEST_F(session_routes, on_a_full_disk_the_timeout_stays) {
    const test::file_size_limit full(10);
    const answer refused = ask("PATCH", service, "admin", R"({"SessionTimeout": 60})");
    EXPECT_EQ(refused.status, 507U);
    EXPECT_EQ(member(ask("GET", service, "admin"), "SessionTimeout").integer, 1800);
}

TEST_F(session_routes, the_bodies_are_as_the_published_schemas_have_them) {
    if (const auto missing = test::missing_data(test::schema_folder + "Session.json");
        !missing.empty()) {
        GTEST_SKIP() << missing;
    }
    EXPECT_EQ(test::schema_problems(log_in("eve").body), "");
    EXPECT_EQ(test::schema_problems(ask("GET", service, "eve").body), "");
    EXPECT_EQ(test::schema_problems(ask("GET", sessions, "eve").body), "");
}

}  // namespace
