#include "redfish/access/account_store.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "redfish/access/first_account.hpp"
#include "redfish/access/password_hash.hpp"
#include "tests/support/file_size_limit.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/support/stepped_access.hpp"

namespace {

using dp_redfish::account_problem;
using dp_redfish::account_store;
using dp_redfish::accounts_file;
using dp_redfish::roles;
using dp_redfish::secret_text;

class account_store_test : public testing::Test {
  protected:
    void SetUp() override {
        test::clean_root();
        ASSERT_TRUE(accounts_file(path).write({}).outcome);
        ASSERT_TRUE(store.load());
        ASSERT_EQ(create("admin", roles::administrator), account_problem::none);
        ASSERT_EQ(create("eve", roles::operator_role), account_problem::none);
    }

    account_problem create(const std::string& name, roles role) {
        return store.create("root", name, role, true, secret_text(std::string_view("password 1")));
    }
    account_problem set_password(const std::string& name, std::string_view password) {
        const secret_text secret(password);
        return store.change("root", name, {&secret}, {});
    }
    account_problem set_role(const std::string& name, roles role) {
        return store.change("root", name, {nullptr, role}, {});
    }
    account_problem set_enabled(const std::string& name, bool enabled) {
        return store.change("root", name, {nullptr, {}, enabled}, {});
    }
    std::string open_session(const std::string& user) {
        return sessions.open({{}, user, roles::operator_role, {}, {}, {}}).made.id;
    }
    account_problem require_change(const std::string& name, bool required) {
        return store.change("root", name, {nullptr, {}, {}, false, required}, {});
    }
    bool has_password(const std::string& name, std::string_view password) {
        return *dp_redfish::matches_hash(secret_text(password), store.find(name)->password_hash);
    }
    dp_redfish::account_data on_disk() const { return accounts_file(path).read()->data; }

    std::string path = test::root() + "/var/dp/accounts.json";
    test::stepped_access steps;
    test::kept_lines lines;
    dp_redfish::audit_log log{lines.writer()};
    dp_redfish::session_store sessions{steps.environment(), log, {}};
    dp_redfish::lockout failures{steps.environment()};
    dp_redfish::credential_cache known{steps.environment(), {1}};
    account_store store{path, steps.environment(), 1, {log, sessions, failures, known}};
};

TEST_F(account_store_test, a_created_account_is_in_the_file) {
    const auto found = store.find("eve");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->role, roles::operator_role);
    EXPECT_TRUE(found->enabled);
    EXPECT_TRUE(has_password("eve", "password 1"));
    EXPECT_EQ(on_disk().find("eve")->password_hash, found->password_hash);
    EXPECT_EQ(
        lines.count(R"(account user="eve" by="root" change="created with the role Operator")"), 1U)
        << lines.text();
    EXPECT_EQ(test::read_file(path).find("password 1"), std::string::npos);
}

TEST_F(account_store_test, names_are_unique) {
    EXPECT_EQ(create("eve", roles::read_only), account_problem::name_taken);
    EXPECT_EQ(store.find("eve")->role, roles::operator_role);
}

TEST_F(account_store_test, the_number_of_accounts_is_limited) {
    dp_redfish::account_data full = on_disk();
    while (full.accounts.size() < dp_redfish::account_data::accounts_limit) {
        full.accounts.push_back(full.accounts.front());
        full.accounts.back().name = "a" + std::to_string(full.accounts.size());
    }
    ASSERT_TRUE(accounts_file(path).write(full).outcome);
    EXPECT_EQ(create("one-more", roles::read_only), account_problem::too_many_accounts);
}

TEST_F(account_store_test, a_change_of_what_is_there_already_writes_nothing) {
    const auto before = accounts_file(path).present_version();
    const std::string id = open_session("eve");
    EXPECT_EQ(set_role("eve", roles::operator_role), account_problem::none);
    EXPECT_EQ(set_enabled("eve", true), account_problem::none);
    EXPECT_EQ(accounts_file(path).present_version(), before);
    EXPECT_TRUE(sessions.find(id));
}

TEST_F(account_store_test, sessions_end_with_the_password) {
    const std::string id = open_session("eve");
    const std::string other = open_session("admin");
    known.remember("eve", known.digest_of("eve", "password 1"));
    ASSERT_EQ(set_password("eve", "password 2"), account_problem::none);
    EXPECT_FALSE(sessions.find(id));
    EXPECT_TRUE(sessions.find(other));
    EXPECT_FALSE(known.has("eve", known.digest_of("eve", "password 1")));
    EXPECT_TRUE(has_password("eve", "password 2"));
    EXPECT_FALSE(has_password("eve", "password 1"));
    EXPECT_EQ(lines.count("reason=\"password changed\""), 1U);
    EXPECT_EQ(lines.count("password 2"), 0U);
}

TEST_F(account_store_test, sessions_end_with_the_role_the_right_to_log_in_and_the_account) {
    std::string id = open_session("eve");
    ASSERT_EQ(set_role("eve", roles::administrator), account_problem::none);
    EXPECT_FALSE(sessions.find(id));
    id = open_session("eve");
    ASSERT_EQ(set_enabled("eve", false), account_problem::none);
    EXPECT_FALSE(sessions.find(id));
    id = open_session("eve");
    ASSERT_EQ(store.remove("root", "eve", {}), account_problem::none);
    EXPECT_FALSE(sessions.find(id));
    EXPECT_FALSE(store.find("eve"));
    EXPECT_EQ(on_disk().accounts.size(), 1U);
    EXPECT_EQ(lines.count("reason=\"role changed\""), 1U);
    EXPECT_EQ(lines.count("reason=\"account disabled\""), 1U);
    EXPECT_EQ(lines.count("reason=\"account deleted\""), 1U);
}

TEST_F(account_store_test, the_last_enabled_administrator_stays) {
    EXPECT_EQ(set_enabled("admin", false), account_problem::last_administrator);
    EXPECT_EQ(set_role("admin", roles::operator_role), account_problem::last_administrator);
    EXPECT_EQ(store.remove("root", "admin", {}), account_problem::last_administrator);
    ASSERT_EQ(set_role("eve", roles::administrator), account_problem::none);
    ASSERT_EQ(set_enabled("eve", false), account_problem::none);
    EXPECT_EQ(set_enabled("admin", false), account_problem::last_administrator);
    ASSERT_EQ(set_enabled("eve", true), account_problem::none);
    EXPECT_EQ(set_enabled("admin", false), account_problem::none);
    EXPECT_EQ(store.remove("root", "eve", {}), account_problem::last_administrator);
    EXPECT_TRUE(on_disk().find("eve")->enabled);
}

TEST_F(account_store_test, an_account_that_is_not_there_is_not_changed) {
    EXPECT_EQ(set_password("bob", "password 2"), account_problem::no_such_account);
    EXPECT_EQ(store.remove("root", "bob", {}), account_problem::no_such_account);
}

TEST_F(account_store_test, a_precondition_is_checked_in_the_same_step) {
    const auto never = [](const dp_redfish::account&) { return false; };
    EXPECT_EQ(store.change("root", "eve", {nullptr, roles::read_only}, never),
              account_problem::precondition_failed);
    EXPECT_EQ(store.remove("root", "eve", never), account_problem::precondition_failed);
    EXPECT_EQ(store.find("eve")->role, roles::operator_role);
}

TEST_F(account_store_test, unlocking_and_a_new_password_clear_a_lock) {
    for (const bool by_password : {true, false}) {
        for (int i = 0; i < 5; ++i) {
            failures.count_failure("eve", true, store.policy());
        }
        ASSERT_TRUE(failures.is_locked("eve", store.policy()));
        if (by_password) {
            set_password("eve", "password 2");
        } else {
            store.change("root", "eve", {nullptr, {}, {}, true}, {});
        }
        EXPECT_FALSE(failures.is_locked("eve", store.policy()));
    }
}

TEST_F(account_store_test, the_policy_is_in_the_file_and_counts_at_once) {
    const std::string id = open_session("eve");
    EXPECT_EQ(store.change_policy("root",
                                  [](dp_redfish::access_policy& policy) {
                                      policy.session_timeout = std::chrono::seconds(30);
                                      return true;
                                  }),
              account_problem::none);
    EXPECT_EQ(on_disk().policy.session_timeout.count(), 30);
    steps.advance(std::chrono::seconds(30));
    EXPECT_FALSE(sessions.find(id));
    EXPECT_EQ(lines.count("policy of logins changed by=\"root\""), 1U);
    EXPECT_EQ(store.change_policy("root", [](dp_redfish::access_policy&) { return false; }),
              account_problem::precondition_failed);
}

TEST_F(account_store_test, the_change_of_another_process_is_noticed) {
    EXPECT_TRUE(store.is_current());
    const std::string id = open_session("eve");
    dp_redfish::account_data other = on_disk();
    other.accounts.pop_back();
    ASSERT_TRUE(accounts_file(path).write(other).outcome);
    EXPECT_FALSE(store.is_current());
    EXPECT_TRUE(store.refresh());
    EXPECT_TRUE(store.is_current());
    EXPECT_FALSE(store.find("eve"));
    EXPECT_FALSE(sessions.find(id));
}

TEST_F(account_store_test, changes_of_two_processes_are_both_kept) {
    account_store second{path, steps.environment(), 1, {log, sessions, failures, known}};
    ASSERT_TRUE(second.load());
    ASSERT_EQ(create("one", roles::read_only), account_problem::none);
    ASSERT_EQ(second.create("root", "two", roles::read_only, true,
                            secret_text(std::string_view("password 2"))),
              account_problem::none);
    EXPECT_NE(on_disk().find("one"), nullptr);
    EXPECT_NE(on_disk().find("two"), nullptr);
}

TEST_F(account_store_test, a_file_that_became_unreadable_is_reported_once_and_not_overwritten) {
    test::write_file(path, "damaged");
    EXPECT_FALSE(store.is_current());
    EXPECT_FALSE(store.refresh());
    EXPECT_FALSE(store.refresh());
    EXPECT_TRUE(store.is_current());
    EXPECT_EQ(lines.count("the accounts stay as they were"), 1U) << lines.text();
    EXPECT_TRUE(store.find("eve"));
    EXPECT_EQ(create("bob", roles::read_only), account_problem::failed);
    EXPECT_EQ(set_enabled("eve", false), account_problem::failed);
    EXPECT_EQ(store.remove("root", "eve", {}), account_problem::failed);
    EXPECT_EQ(test::read_file(path), "damaged");
    EXPECT_TRUE(store.find("eve")->enabled);
}

TEST_F(account_store_test, a_removed_file_is_not_made_again) {
    std::filesystem::remove(path);
    EXPECT_EQ(create("bob", roles::read_only), account_problem::failed);
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_TRUE(store.find("admin"));
}

TEST_F(account_store_test, on_a_full_disk_nothing_changes) {
    const std::string before = test::read_file(path);
    const std::string id = open_session("eve");
    {
        const test::file_size_limit full(10);
        EXPECT_EQ(create("bob", roles::read_only), account_problem::no_space);
        EXPECT_EQ(set_password("eve", "password 2"), account_problem::no_space);
        EXPECT_EQ(store.remove("root", "eve", {}), account_problem::no_space);
    }
    EXPECT_EQ(test::read_file(path), before);
    EXPECT_FALSE(store.find("bob"));
    EXPECT_TRUE(has_password("eve", "password 1"));
    EXPECT_TRUE(sessions.find(id));
}

TEST_F(account_store_test, the_generated_password_is_removed_with_another_password) {
    const std::string file = dp_redfish::first_password_path(path);
    test::write_file(file, "generated");
    ASSERT_EQ(set_password("eve", "password 2"), account_problem::none);
    EXPECT_TRUE(std::filesystem::exists(file));
    ASSERT_EQ(set_password("admin", "password 2"), account_problem::none);
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(account_store_test, a_file_that_cannot_be_used_is_a_failure_at_start) {
    account_store other{path + ".none", steps.environment(), 1, {log, sessions, failures, known}};
    EXPECT_EQ(other.load().code(), ENOENT);
    test::write_file(path, "damaged");
    const auto loaded = store.load();
    ASSERT_FALSE(loaded);
    EXPECT_NE(loaded.reason().find("line 1"), std::string::npos) << loaded.reason();
}

TEST_F(account_store_test, a_password_that_must_be_changed_is_in_the_file_until_it_is) {
    EXPECT_FALSE(store.must_change_password("eve"));
    EXPECT_FALSE(store.must_change_password("nobody"));
    ASSERT_EQ(require_change("eve", true), account_problem::none);
    EXPECT_TRUE(store.must_change_password("eve"));
    EXPECT_TRUE(on_disk().find("eve")->must_change_password);
    EXPECT_EQ(lines.count("must change the password"), 1U);
    ASSERT_EQ(set_role("eve", roles::read_only), account_problem::none);
    EXPECT_TRUE(store.must_change_password("eve"));
    ASSERT_EQ(set_password("eve", "password 2"), account_problem::none);
    EXPECT_FALSE(store.must_change_password("eve"));
    EXPECT_FALSE(on_disk().find("eve")->must_change_password);
    ASSERT_EQ(require_change("eve", true), account_problem::none);
    ASSERT_EQ(require_change("eve", false), account_problem::none);
    EXPECT_FALSE(store.must_change_password("eve"));
}

TEST_F(account_store_test, a_new_password_can_require_another_one) {
    const secret_text password(std::string_view("password 2"));
    ASSERT_EQ(store.change("root", "eve", {&password, {}, {}, false, true}, {}),
              account_problem::none);
    EXPECT_TRUE(store.must_change_password("eve"));
    ASSERT_EQ(store.create("root", "bob", roles::read_only, true, password, true),
              account_problem::none);
    EXPECT_TRUE(on_disk().find("bob")->must_change_password);
}

TEST_F(account_store_test, the_session_that_changes_its_own_password_goes_on) {
    const std::string kept = open_session("eve");
    const std::string other = open_session("eve");
    const secret_text password(std::string_view("password 2"));
    ASSERT_EQ(store.change("eve", "eve", {&password, {}, {}, false, {}, kept}, {}),
              account_problem::none);
    EXPECT_TRUE(sessions.find(kept));
    EXPECT_FALSE(sessions.find(other));
    // A session has the role of its login.
    ASSERT_EQ(store.change("eve", "eve", {&password, roles::read_only, {}, false, {}, kept}, {}),
              account_problem::none);
    EXPECT_FALSE(sessions.find(kept));
}

}  // namespace
