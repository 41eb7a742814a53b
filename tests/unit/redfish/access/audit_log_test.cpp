#include "redfish/access/audit_log.hpp"

#include <gtest/gtest.h>

#include "tests/support/stepped_access.hpp"

namespace {

TEST(audit_log, has_a_line_for_each_event) {
    test::kept_lines lines;
    dp_redfish::audit_log log(lines.writer());
    log.login("admin", "127.0.0.1", "Basic");
    log.login_failed("root", "2001:db8::1", "session", "wrong password");
    log.token_refused("127.0.0.1");
    log.session_ended("0a", "admin", "ended by admin");
    log.account_changed("eve", "admin", "created with the role Operator");
    log.account_changed("eve", "", "deleted");
    log.policy_changed("admin");
    EXPECT_EQ(lines.text(),
              "audit: login user=\"admin\" from=127.0.0.1 by=Basic\n"
              "audit: login failed user=\"root\" from=2001:db8::1 by=session "
              "reason=\"wrong password\"\n"
              "audit: unknown session token from=127.0.0.1\n"
              "audit: session ended id=0a user=\"admin\" reason=\"ended by admin\"\n"
              "audit: account user=\"eve\" by=\"admin\" change=\"created with the role Operator\"\n"
              "audit: account user=\"eve\" by=another process change=\"deleted\"\n"
              "audit: policy of logins changed by=\"admin\"\n");
}

TEST(audit_log, texts_of_clients_cannot_forge_a_line) {
    test::kept_lines lines;
    dp_redfish::audit_log log(lines.writer());
    log.login_failed("x\naudit: login user=\"admin\"", "a b\n", "Basic", "wrong\npassword");
    log.problem("file\nname");
    const std::string text = lines.text();
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 2);
    EXPECT_NE(text.find("\\x0aaudit: login user=\\\"admin\\\"\""), std::string::npos) << text;
}

TEST(audit_log, without_a_writer_nothing_is_written) {
    dp_redfish::audit_log log({});
    log.login("admin", "127.0.0.1", "Basic");
}

}  // namespace
