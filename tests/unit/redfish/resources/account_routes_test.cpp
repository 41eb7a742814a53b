#include "redfish/resources/account_routes.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <future>
#include <string>
#include <vector>

#include "redfish/access/password_hash.hpp"
#include "tests/support/access_routes.hpp"
#include "tests/support/file_size_limit.hpp"
#include "tests/support/schema_members.hpp"

namespace {

using dp_redfish::answer;
using dp_redfish::roles;

class account_routes : public test::access_routes {
  protected:
    void SetUp() override {
        access_routes::SetUp();
        add_account_routes(routes, *access);
    }

    std::string of(const std::string& user) const { return accounts + "/" + user; }
    answer create(const std::string& body) { return ask("POST", accounts, "admin", body); }
    bool has_password(const std::string& user, std::string_view password) {
        return *dp_redfish::matches_hash(dp_redfish::secret_text(password),
                                         access->accounts().find(user)->password_hash);
    }

    std::string service = "/redfish/v1/AccountService";
    std::string accounts = service + "/Accounts";
};

TEST_F(account_routes, an_administrator_creates_an_account) {
    const answer made =
        create(R"({"UserName": "carol", "Password": "carol's password", "RoleId": "ReadOnly"})");
    ASSERT_EQ(made.status, 201U) << text_of(made);
    EXPECT_EQ(made.headers.at("Location"), of("carol"));
    EXPECT_EQ(member(made, "RoleId").text, "ReadOnly");
    EXPECT_TRUE(member(made, "Enabled").truth);
    EXPECT_EQ(member(made, "Password").kind, dp_support::json_kind::null);
    EXPECT_TRUE(has_password("carol", "carol's password"));
    EXPECT_EQ(text_of(ask("GET", of("carol"), "admin")), text_of(made));
    EXPECT_EQ(lines.count("carol's password"), 0U);
}

TEST_F(account_routes, what_clients_send_besides_is_accepted) {
    const answer made = ask("POST", accounts + "/Members", "admin",
                            R"({"UserName": "carol", "Password": "carol's password",
                                "RoleId": "Operator", "Enabled": false, "Locked": false,
                                "AccountTypes": ["Redfish"], "PasswordChangeRequired": false,
                                "Name": "x", "@odata.type": "#ManagerAccount.v1_0_0.ManagerAccount"})");
    ASSERT_EQ(made.status, 201U) << text_of(made);
    EXPECT_FALSE(access->accounts().find("carol")->enabled);
}

TEST_F(account_routes, only_an_administrator_creates_and_deletes) {
    const std::string body =
        R"({"UserName": "carol", "Password": "carol's password", "RoleId": "ReadOnly"})";
    for (const char* const user : {"eve", "bob"}) {
        EXPECT_EQ(ask("POST", accounts, user, body).status, 403U);
        EXPECT_EQ(ask("DELETE", of(user), user).status, 403U);
    }
    EXPECT_FALSE(access->accounts().find("carol"));
}

TEST_F(account_routes, a_wrong_account_is_refused_with_every_problem) {
    EXPECT_EQ(message_ids(create("{}")), "PropertyMissing PropertyMissing PropertyMissing");
    EXPECT_EQ(message_ids(create(R"({"UserName": "a b", "Password": "short", "RoleId": "King"})")),
              "PropertyValueFormatError PasswordIncorrectLength PropertyValueNotInList");
    EXPECT_EQ(message_ids(create(R"({"UserName": 1, "Password": 12345678, "RoleId": null})")),
              "PropertyValueTypeError PropertyValueTypeError PropertyValueTypeError");
    const std::string rest = R"("UserName": "carol", "Password": "carol's password", )";
    EXPECT_EQ(message_ids(create("{" + rest + R"("RoleId": "ReadOnly", "King": 1})")),
              "PropertyUnknown");
    EXPECT_EQ(message_ids(create("{" + rest + R"("RoleId": "ReadOnly", "Locked": true})")),
              "PropertyValueNotInList");
    EXPECT_EQ(
        message_ids(create("{" + rest + R"("RoleId": "ReadOnly", "AccountTypes": ["IPMI"]})")),
        "PropertyValueNotInList");
    EXPECT_EQ(
        message_ids(create(
            R"({"UserName": "carol", "Password": "carol's\npassword", "RoleId": "ReadOnly"})")),
        "PropertyValueError");
    EXPECT_FALSE(access->accounts().find("carol"));
}

TEST_F(account_routes, a_name_that_is_taken_and_too_many_accounts_are_refused) {
    const answer taken =
        create(R"({"UserName": "eve", "Password": "eve's password", "RoleId": "Administrator"})");
    EXPECT_EQ(taken.status, 409U);
    EXPECT_EQ(message_ids(taken), "ResourceAlreadyExists");
    EXPECT_EQ(access->accounts().find("eve")->role, roles::operator_role);
    unsigned status = 201;
    for (int i = 0; i < 64 && status == 201; ++i) {
        const answer made = create(R"({"UserName": "a)" + std::to_string(i) +
                                   R"(", "Password": "a password", "RoleId": "ReadOnly"})");
        status = made.status;
        EXPECT_TRUE(status == 201 || message_ids(made) == "CreateLimitReachedForResource");
    }
    EXPECT_EQ(status, 400U);
    EXPECT_EQ(access->accounts().list().size(), 64U);
}

TEST_F(account_routes, users_see_their_own_account_and_administrators_all) {
    EXPECT_EQ(member(ask("GET", accounts, "admin"), "Members@odata.count").integer, 3);
    const answer own = ask("GET", accounts, "eve");
    EXPECT_EQ(member(own, "Members").items.at(0).find("@odata.id")->text, of("eve"));
    EXPECT_EQ(member(own, "Members@odata.count").integer, 1);
    EXPECT_EQ(ask("GET", of("eve"), "eve").status, 200U);
    EXPECT_EQ(ask("GET", of("bob"), "eve").status, 403U);
    EXPECT_EQ(ask("GET", of("nobody"), "eve").status, 403U);
    EXPECT_EQ(ask("GET", of("nobody"), "admin").status, 404U);
    EXPECT_EQ(ask("GET", of("..%2f"), "admin").status, 404U);
}

TEST_F(account_routes, a_user_changes_the_own_password_and_nothing_else) {
    EXPECT_EQ(ask("PATCH", of("bob"), "bob", R"({"Password": "new password"})").status, 200U);
    EXPECT_TRUE(has_password("bob", "new password"));
    EXPECT_EQ(ask("PATCH", of("bob"), "bob", R"({"RoleId": "Administrator"})").status, 403U);
    EXPECT_EQ(
        ask("PATCH", of("bob"), "bob", R"({"Password": "password 3", "RoleId": "Administrator"})")
            .status,
        403U);
    EXPECT_EQ(ask("PATCH", of("bob"), "bob", R"({"Locked": false})").status, 403U);
    EXPECT_EQ(ask("PATCH", of("eve"), "bob", R"({"Password": "password 3"})").status, 403U);
    EXPECT_EQ(ask("PATCH", of("nobody"), "bob", R"({"Password": "password 3"})").status, 403U);
    EXPECT_TRUE(has_password("bob", "new password"));
    EXPECT_TRUE(has_password("eve", "eve's password"));
    EXPECT_EQ(access->accounts().find("bob")->role, roles::read_only);
}

TEST_F(account_routes, an_administrator_changes_every_property) {
    const answer changed = ask("PATCH", of("eve"), "admin",
                               R"({"Password": "new password", "RoleId": "ReadOnly",
                                   "Enabled": false, "Locked": false})");
    EXPECT_EQ(changed.status, 200U) << text_of(changed);
    EXPECT_EQ(member(changed, "RoleId").text, "ReadOnly");
    EXPECT_FALSE(member(changed, "Enabled").truth);
    EXPECT_TRUE(has_password("eve", "new password"));
    EXPECT_EQ(lines.count("new password"), 0U);
}

TEST_F(account_routes, a_lock_is_shown_and_can_be_released) {
    for (int i = 0; i < 5; ++i) {
        std::promise<void> done;
        access->log_in("eve", dp_redfish::secret_text(std::string_view("wrong")), {}, {},
                       [&](auto, const auto&, const auto&) { done.set_value(); });
        done.get_future().get();
    }
    const answer locked = ask("GET", of("eve"), "admin");
    EXPECT_TRUE(member(locked, "Locked").truth);
    EXPECT_EQ(message_ids(ask("PATCH", of("eve"), "admin", R"({"Locked": true})")),
              "PropertyValueNotInList");
    const answer released = ask("PATCH", of("eve"), "admin", R"({"Locked": false})");
    EXPECT_FALSE(member(released, "Locked").truth);
    EXPECT_NE(released.etag, locked.etag);
    EXPECT_FALSE(access->is_locked("eve"));
}

TEST_F(account_routes, a_wrong_change_is_refused_whole) {
    const answer refused = ask("PATCH", of("eve"), "admin",
                               R"({"RoleId": "ReadOnly", "Enabled": "no", "Password": "short"})");
    EXPECT_EQ(refused.status, 400U);
    EXPECT_EQ(message_ids(refused), "PasswordIncorrectLength PropertyValueTypeError");
    EXPECT_EQ(access->accounts().find("eve")->role, roles::operator_role);
    EXPECT_EQ(message_ids(ask("PATCH", of("eve"), "admin", R"({"UserName": "adam", "King": 1})")),
              "PropertyNotWritable PropertyUnknown");
    EXPECT_EQ(ask("PATCH", of("nobody"), "admin", R"({"Enabled": true})").status, 404U);
}

TEST_F(account_routes, members_that_cannot_be_set_are_annotated_when_others_are) {
    const answer changed = ask("PATCH", of("eve"), "admin",
                               R"({"Password": "new password", "King": 1, "UserName": "adam"})");
    EXPECT_EQ(changed.status, 200U);
    const auto& messages = member(changed, "@Message.ExtendedInfo").items;
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_EQ(messages[0].find("RelatedProperties")->items.at(0).text, "/UserName");
    EXPECT_EQ(messages[1].find("RelatedProperties")->items.at(0).text, "/King");
    EXPECT_TRUE(has_password("eve", "new password"));
    EXPECT_EQ(ask("PATCH", of("eve"), "admin", R"({"UserName": "eve"})").status, 200U);
}

TEST_F(account_routes, the_last_administrator_stays) {
    EXPECT_EQ(ask("DELETE", of("admin"), "admin").status, 409U);
    EXPECT_EQ(message_ids(ask("DELETE", of("admin"), "admin")), "ResourceCannotBeDeleted");
    EXPECT_EQ(message_ids(ask("PATCH", of("admin"), "admin", R"({"Enabled": false})")),
              "PropertyValueExternalConflict");
    EXPECT_EQ(ask("PATCH", of("admin"), "admin", R"({"RoleId": "Operator"})").status, 409U);
    EXPECT_EQ(ask("PATCH", of("eve"), "admin", R"({"RoleId": "Administrator"})").status, 200U);
    EXPECT_EQ(ask("DELETE", of("admin"), "admin").status, 204U);
    EXPECT_FALSE(access->accounts().find("admin"));
}

TEST_F(account_routes, an_etag_guards_a_change) {
    const answer seen = ask("GET", of("eve"), "admin");
    ASSERT_FALSE(seen.etag.empty());
    EXPECT_EQ(ask("PATCH", of("eve"), "admin", R"({"Password": "new password"})",
                  {{"If-Match", "\"x\", " + seen.etag}})
                  .status,
              200U);
    // The password is no part of the body, and still another account has another ETag.
    EXPECT_NE(ask("GET", of("eve"), "admin").etag, seen.etag);
    const answer late = ask("PATCH", of("eve"), "admin", R"({"Password": "password 3"})",
                            {{"If-Match", seen.etag}});
    EXPECT_EQ(late.status, 412U);
    EXPECT_EQ(message_ids(late), "PreconditionFailed");
    EXPECT_TRUE(has_password("eve", "new password"));
    EXPECT_EQ(ask("DELETE", of("eve"), "admin", "{}", {{"If-Match", seen.etag}}).status, 412U);
    EXPECT_EQ(ask("DELETE", of("eve"), "admin", "{}", {{"If-Match", "*"}}).status, 204U);
}

TEST_F(account_routes, lockout_can_be_changed_by_an_administrator) {
    const std::string body = R"({"AccountLockoutThreshold": 2, "AccountLockoutDuration": 60,
                                 "AccountLockoutCounterResetAfter": 30})";
    EXPECT_EQ(ask("PATCH", service, "eve", body).status, 403U);
    EXPECT_EQ(ask("PATCH", service, "admin", body).status, 200U);
    const answer now = ask("GET", service, "bob");
    EXPECT_EQ(member(now, "AccountLockoutThreshold").integer, 2);
    EXPECT_EQ(member(now, "AccountLockoutDuration").integer, 60);
    EXPECT_EQ(member(now, "AccountLockoutCounterResetAfter").integer, 30);
    const answer conflict = ask("PATCH", service, "admin", R"({"AccountLockoutDuration": 29})");
    EXPECT_EQ(conflict.status, 400U);
    EXPECT_EQ(message_ids(conflict), "PropertyValueConflict");
    EXPECT_EQ(message_ids(ask("PATCH", service, "admin", R"({"AccountLockoutThreshold": -1})")),
              "PropertyValueOutOfRange");
    EXPECT_EQ(message_ids(ask("PATCH", service, "admin", R"({"MinPasswordLength": 1})")),
              "PropertyNotWritable");
    EXPECT_EQ(member(ask("GET", service, "bob"), "AccountLockoutDuration").integer, 60);
}

TEST_F(account_routes, on_a_full_disk_nothing_changes) {
    {
        const test::file_size_limit full(10);
        EXPECT_EQ(ask("PATCH", of("eve"), "admin", R"({"Enabled": false})").status, 507U);
        EXPECT_EQ(
            create(R"({"UserName": "carol", "Password": "carol's password", "RoleId": "ReadOnly"})")
                .status,
            507U);
        EXPECT_EQ(message_ids(ask("DELETE", of("eve"), "admin")), "InsufficientStorage");
    }
    EXPECT_EQ(access->accounts().list().size(), 3U);
    EXPECT_TRUE(access->accounts().find("eve")->enabled);
}

TEST_F(account_routes, without_its_folder_nothing_changes) {
    const std::string folder = test::root() + "/var/dp";
    std::filesystem::rename(folder, folder + ".away");
    const answer refused = ask("PATCH", of("eve"), "admin", R"({"Enabled": false})");
    EXPECT_EQ(refused.status, 500U);
    EXPECT_EQ(message_ids(refused), "InternalError");
    EXPECT_EQ(text_of(refused).find(folder), std::string::npos);
    EXPECT_GE(lines.count("the accounts were not changed"), 1U);
    std::filesystem::rename(folder + ".away", folder);
    EXPECT_EQ(ask("PATCH", of("eve"), "admin", R"({"Enabled": false})").status, 200U);
}

TEST_F(account_routes, too_many_changes_at_once_are_answered_as_busy) {
    std::promise<void> started;
    std::promise<void> may_end;
    access->post([&](auto) {
        started.set_value();
        may_end.get_future().wait();
    });
    started.get_future().wait();
    while (access->post([](auto) {})) {
    }
    const answer busy = ask("PATCH", of("eve"), "admin", R"({"Enabled": false})");
    may_end.set_value();
    access->stop();  // the thread uses the promises
    EXPECT_EQ(busy.status, 503U);
    EXPECT_TRUE(busy.headers.contains("Retry-After"));
}

TEST_F(account_routes, the_roles_are_the_predefined_ones) {
    const std::string path = service + "/Roles";
    EXPECT_EQ(member(ask("GET", path, "bob"), "Members@odata.count").integer, 3);
    const answer role = ask("GET", path + "/Operator", "bob");
    EXPECT_EQ(role.status, 200U);
    EXPECT_TRUE(member(role, "IsPredefined").truth);
    EXPECT_EQ(to_text(member(role, "AssignedPrivileges"), dp_support::json_layout::one_line),
              R"(["Login","ConfigureComponents","ConfigureSelf"])");
    EXPECT_EQ(ask("GET", path + "/King", "bob").status, 404U);
}

TEST_F(account_routes, the_bodies_are_as_the_published_schemas_have_them) {
    if (const auto missing = test::missing_data(test::schema_folder + "Role.json");
        !missing.empty()) {
        GTEST_SKIP() << missing;
    }
    for (const std::string& target :
         {service, accounts, of("eve"), service + "/Roles", service + "/Roles/Administrator"}) {
        EXPECT_EQ(test::schema_problems(ask("GET", target, "admin").body), "") << target;
    }
}

}  // namespace
