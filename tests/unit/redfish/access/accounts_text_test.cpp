#include "redfish/access/accounts_text.hpp"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

using dp_redfish::read_accounts_text;
using dp_redfish::roles;

const std::string sample_hash =
    "$y$j75$abcdefghijklmnopqrstuv$0123456789012345678901234567890123456789012";

std::string account_with(const std::string& members) {
    return R"({"format": 1, "accounts": [)"
           "\n"
           "{" +
           members + "}]}";
}

std::string valid_account(const std::string& name) {
    return R"("name": ")" + name + R"(", "role": "Operator", "password": ")" + sample_hash + '"';
}

std::string problem_of(const std::string& text) {
    const auto read = read_accounts_text(text);
    return read ? "none" : read.reason();
}

TEST(accounts_text, what_is_written_is_read_again) {
    dp_redfish::account_data data;
    data.accounts.push_back({"admin", roles::administrator, true, sample_hash});
    data.accounts.push_back({"guest", roles::read_only, false, sample_hash});
    data.policy.session_timeout = std::chrono::seconds(60);
    data.policy.lockout_threshold = 0;
    data.policy.lockout_duration = std::chrono::seconds(86400);
    data.policy.lockout_reset_after = std::chrono::seconds(1);
    const auto read = read_accounts_text(write_accounts_text(data));
    ASSERT_TRUE(read) << read.reason();
    ASSERT_EQ(read->accounts.size(), 2U);
    EXPECT_EQ(read->policy, data.policy);
    EXPECT_EQ(read->find("admin")->role, roles::administrator);
    EXPECT_TRUE(read->find("admin")->enabled);
    EXPECT_EQ(read->find("guest")->password_hash, sample_hash);
    EXPECT_FALSE(read->find("guest")->enabled);
    EXPECT_EQ(read->find("root"), nullptr);
}

TEST(accounts_text, policy_and_enabled_may_be_missing) {
    const auto read = read_accounts_text(account_with(valid_account("a")));
    ASSERT_TRUE(read) << read.reason();
    EXPECT_EQ(read->policy, dp_redfish::access_policy());
    EXPECT_TRUE(read->accounts.at(0).enabled);
}

TEST(accounts_text, what_is_wrong_is_named_with_its_line) {
    EXPECT_TRUE(problem_of("").starts_with("line 1: ")) << problem_of("");
    EXPECT_EQ(problem_of("[]"), "line 1: must be an object");
    EXPECT_EQ(problem_of("{}"), "line 1: the format must be 1");
    EXPECT_EQ(problem_of("{\n\"format\": 2, \"accounts\": []}"), "line 2: the format must be 1");
    EXPECT_EQ(problem_of(R"({"format": 1})"), "line 1: \"accounts\" must be a list");
    EXPECT_EQ(problem_of("{\"format\": 1, \"accounts\": [],\n\"x\": 1}"),
              "line 2: unknown member \"x\"");
    EXPECT_EQ(problem_of("{\"format\": 1, \"accounts\": [],\n\"format\": 1}"),
              "line 2: repeated member \"format\"");
    EXPECT_EQ(problem_of(account_with(R"("role": "Operator")")), "line 2: \"name\" must be a text");
    EXPECT_EQ(problem_of(account_with(valid_account("a b"))),
              "line 2: \"a b\" cannot be the name of an account");
    EXPECT_EQ(problem_of(account_with(valid_account("a") + "},\n{" + valid_account("a"))),
              "line 3: two accounts have the name \"a\"");
    EXPECT_EQ(problem_of(account_with(R"("name": "a", "role": "King", "password": ")" +
                                      sample_hash + '"')),
              "line 2: there is no role \"King\"");
    EXPECT_EQ(problem_of(account_with(valid_account("a") + R"(, "enabled": 1)")),
              "line 2: \"enabled\" must be true or false");
    EXPECT_EQ(problem_of(account_with(R"("name": "a", "role": "Operator")")),
              "line 2: \"password\" must be a text");
}

TEST(accounts_text, a_password_that_is_no_hash_is_not_shown) {
    const std::string problem =
        problem_of(account_with(R"("name": "a", "role": "Operator", "password": "open sesame")"));
    EXPECT_EQ(problem, "line 2: \"password\" must be a yescrypt hash of crypt(3)");
}

TEST(accounts_text, a_policy_out_of_range_is_refused) {
    const auto with_policy = [](const std::string& policy) {
        return problem_of(R"({"format": 1, "accounts": [], "policy": )" + policy + "}");
    };
    EXPECT_EQ(with_policy("{}"), "none");
    EXPECT_EQ(with_policy(R"({"session_timeout": 29})"),
              "line 1: \"session_timeout\" must be a number from 30 to 86400");
    EXPECT_EQ(with_policy(R"({"session_timeout": 86401})"),
              "line 1: \"session_timeout\" must be a number from 30 to 86400");
    EXPECT_EQ(with_policy(R"({"lockout_threshold": -1})"),
              "line 1: \"lockout_threshold\" must be a number from 0 to 1000");
    EXPECT_EQ(with_policy(R"({"lockout_duration": 1e3})"),
              "line 1: \"lockout_duration\" must be a number from 0 to 86400");
    EXPECT_EQ(with_policy(R"({"lockout_duration": 60})"),
              "line 1: \"lockout_reset_after\" must not exceed \"lockout_duration\"");
    EXPECT_EQ(with_policy(R"({"lockout_duration": 0})"), "none");
    EXPECT_EQ(with_policy("1"), "line 1: must be an object");
}

TEST(accounts_text, has_later_members_only_when_they_differ_from_their_defaults) {
    dp_redfish::account_data data;
    data.accounts.push_back({"admin", roles::administrator, true, sample_hash});
    EXPECT_EQ(write_accounts_text(data).find("password_change_required"), std::string::npos);
    EXPECT_EQ(write_accounts_text(data).find("absolute"), std::string::npos);
    data.accounts[0].must_change_password = true;
    data.policy.has_absolute_timeout = true;
    data.policy.absolute_timeout = std::chrono::seconds(3600);
    const auto read = read_accounts_text(write_accounts_text(data));
    ASSERT_TRUE(read) << read.reason();
    EXPECT_TRUE(read->accounts[0].must_change_password);
    EXPECT_EQ(read->policy, data.policy);
    EXPECT_EQ(problem_of(account_with(valid_account("a") + R"(, "password_change_required": 1)")),
              "line 2: \"password_change_required\" must be true or false");
}

TEST(accounts_text, more_accounts_than_the_limit_are_refused) {
    std::string accounts;
    for (std::size_t i = 0; i <= dp_redfish::account_data::accounts_limit; ++i) {
        accounts += (i == 0 ? "" : "},{") + valid_account("a" + std::to_string(i));
    }
    EXPECT_EQ(problem_of(account_with(accounts)), "line 1: more than 64 accounts");
}

TEST(accounts_text, a_damaged_text_is_a_failure_or_another_valid_one) {
    dp_redfish::account_data data;
    data.accounts.push_back({"admin", roles::administrator, true, sample_hash});
    const std::string whole = write_accounts_text(data);
    for (std::size_t length = 0; length + 2 < whole.size(); ++length) {
        EXPECT_FALSE(read_accounts_text(whole.substr(0, length))) << length;
    }
    std::mt19937 random(3);
    for (int round = 0; round < 3000; ++round) {
        std::string damaged = whole;
        damaged[random() % damaged.size()] = static_cast<char>(random());
        const auto read = read_accounts_text(damaged);
        EXPECT_TRUE(!read || read->accounts.size() == 1);
    }
}

}  // namespace
