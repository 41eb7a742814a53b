#include "redfish/access/password_access_control.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <new>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "redfish/access/add_account.hpp"
#include "tests/support/eventually.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/support/stepped_access.hpp"

namespace {

using dp_redfish::password_access_control;
using dp_redfish::roles;
using dp_redfish::secret_text;
using dp_redfish::worker_thread;
using decision = dp_redfish::access_control::decision;
using decision_states = decision::states;
using login_problem = password_access_control::login_problem;
using std::chrono::seconds;

std::string base64(const std::string& text) {
    constexpr std::string_view alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string encoded;
    for (std::size_t i = 0; i < text.size(); i += 3) {
        unsigned bits = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            bits =
                bits << 8U | (i + k < text.size() ? static_cast<unsigned char>(text[i + k]) : 0U);
        }
        for (std::size_t k = 0; k < 4; ++k) {
            encoded += i + k <= text.size() ? alphabet[bits >> (18 - 6 * k) & 63U] : '=';
        }
    }
    return encoded;
}

class password_access_control_test : public testing::Test {
  protected:
    void SetUp() override {
        test::clean_root();
        put("admin", roles::administrator, "admin password");
        put("eve", roles::operator_role, "eve's password");
        start();
    }

    void put(const std::string& name, roles role, std::string_view password) {
        const auto added =
            add_account(path, name, role, secret_text(password), steps.environment(), 1);
        ASSERT_TRUE(added) << added.reason();
    }

    void start(std::size_t queue_limit = 256) {
        auto started = password_access_control::start(
            {path, lines.writer(), steps.environment(), 1, queue_limit, {512, 2}});
        ASSERT_TRUE(started) << started.reason();
        access = std::move(*started);
    }

    static std::shared_ptr<dp_redfish::http_request> request_with(const std::string& field,
                                                                  const std::string& value) {
        auto request = std::make_shared<dp_redfish::http_request>();
        request->peer = "192.0.2.7";
        if (!field.empty()) {
            request->headers[field] = value;
        }
        return request;
    }

    decision identify(const std::shared_ptr<dp_redfish::http_request>& request) {
        std::promise<decision> made;
        access->identify(request, [&](decision one) { made.set_value(std::move(one)); });
        return made.get_future().get();
    }
    decision with_basic(const std::string& user, const std::string& password) {
        return identify(request_with("Authorization", "Basic " + base64(user + ":" + password)));
    }
    decision with_token(const std::string& token) {
        return identify(request_with("X-Auth-Token", token));
    }

    struct login {
        login_problem problem;
        std::string id;
        std::string token;
    };
    login log_in(const std::string& user, std::string_view password) {
        std::promise<login> made;
        access->log_in(user, secret_text(password), "192.0.2.7", "",
                       [&](login_problem problem, const dp_redfish::login_session& opened,
                           const secret_text& token) {
                           made.set_value({problem, opened.id, std::string(token.view())});
                       });
        return made.get_future().get();
    }

    // Runs `work` on the access thread and waits for it.
    template <class Work>
    void on_access_thread(Work work) {
        std::promise<void> done;
        ASSERT_TRUE(access->post([&](worker_thread::modes) {
            work();
            done.set_value();
        }));
        done.get_future().get();
    }

    std::string path = test::root() + "/var/dp/accounts.json";
    test::stepped_access steps;
    test::kept_lines lines;
    std::unique_ptr<password_access_control> access;
};

TEST_F(password_access_control_test, a_request_without_credentials_is_nobodys) {
    const decision made = identify(request_with("", ""));
    EXPECT_EQ(made.state, decision_states::known);
    EXPECT_FALSE(made.caller.is_logged_in());
}

TEST_F(password_access_control_test, name_and_password_identify_a_user) {
    const decision made = with_basic("eve", "eve's password");
    EXPECT_EQ(made.state, decision_states::known);
    EXPECT_EQ(made.caller.user, "eve");
    EXPECT_EQ(made.caller.role, roles::operator_role);
    EXPECT_EQ(made.caller.session_id, "");
    EXPECT_EQ(lines.text(), "audit: login user=\"eve\" from=192.0.2.7 by=Basic\n");
}

TEST_F(password_access_control_test,
       wrong_credentials_are_refused_and_logged_without_the_password) {
    EXPECT_EQ(with_basic("eve", "wrong pass").state, decision_states::refused);
    EXPECT_EQ(with_basic("eve", "").state, decision_states::refused);
    EXPECT_EQ(with_basic("nobody", "wrong pass").state, decision_states::refused);
    EXPECT_EQ(with_basic("", "wrong pass").state, decision_states::refused);
    EXPECT_EQ(with_basic("a\\b", "wrong pass").state, decision_states::refused);
    EXPECT_EQ(lines.count("login failed user=\"eve\""), 2U);
    EXPECT_EQ(lines.count("reason=\"no such account\""), 1U);
    EXPECT_EQ(lines.count("reason=\"not a user name\""), 2U);
    EXPECT_EQ(lines.count("wrong pass\""), 0U);
    EXPECT_EQ(lines.count(base64("eve:wrong pass")), 0U);
}

TEST_F(password_access_control_test, malformed_fields_are_refused) {
    for (const std::string& value :
         {std::string("Basic"), std::string("Bearer x"), std::string("Basic \xFF\x01"),
          std::string(100'000, 'A'), "Basic " + std::string(100'000, 'A'), "Basic " + base64("eve"),
          std::string("Basic YTpi, Basic YTpi")}) {
        EXPECT_EQ(identify(request_with("Authorization", value)).state, decision_states::refused);
    }
    EXPECT_EQ(lines.count("malformed Authorization"), 7U);
}

TEST_F(password_access_control_test, tokens_of_no_session_are_refused) {
    for (const std::string& token : {std::string(), std::string("x"), std::string("\0\xFF\n", 3),
                                     std::string(64, '0'), std::string(1 << 20, 'a')}) {
        EXPECT_EQ(with_token(token).state, decision_states::refused);
    }
    EXPECT_EQ(lines.count("unknown session token from=192.0.2.7"), 5U);
}

TEST_F(password_access_control_test, a_login_opens_a_session_for_its_token) {
    const login opened = log_in("eve", "eve's password");
    ASSERT_EQ(opened.problem, login_problem::none);
    const decision made = with_token(opened.token);
    EXPECT_EQ(made.state, decision_states::known);
    EXPECT_EQ(made.caller.user, "eve");
    EXPECT_EQ(made.caller.role, roles::operator_role);
    EXPECT_EQ(made.caller.session_id, opened.id);
    EXPECT_EQ(lines.count(opened.token), 0U);
    access->sessions().end(opened.id, "done");
    EXPECT_EQ(with_token(opened.token).state, decision_states::refused);
}

TEST_F(password_access_control_test, the_token_counts_when_there_is_a_password_too) {
    const login opened = log_in("eve", "eve's password");
    auto request = request_with("X-Auth-Token", opened.token);
    request->headers["Authorization"] = "Basic " + base64("admin:admin password");
    EXPECT_EQ(identify(request).caller.user, "eve");
    request->headers["X-Auth-Token"] = "stolen";
    EXPECT_EQ(identify(request).state, decision_states::refused);
}

TEST_F(password_access_control_test, a_login_can_fail_in_each_way) {
    EXPECT_EQ(log_in("eve", "wrong").problem, login_problem::refused);
    EXPECT_EQ(log_in("eve", "eve's password").problem, login_problem::none);
    EXPECT_EQ(log_in("eve", "eve's password").problem, login_problem::none);
    EXPECT_EQ(log_in("eve", "eve's password").problem, login_problem::too_many_sessions);
    steps.random_fails = true;
    EXPECT_EQ(log_in("admin", "admin password").problem, login_problem::unavailable);
}

TEST_F(password_access_control_test, failures_lock_an_account_for_the_right_password_too) {
    for (const char* const user : {"eve", "nobody"}) {
        for (int i = 0; i < 5; ++i) {
            EXPECT_EQ(with_basic(user, "wrong " + std::to_string(i)).state,
                      decision_states::refused);
        }
        EXPECT_TRUE(access->is_locked(user));
    }
    EXPECT_EQ(with_basic("eve", "eve's password").state, decision_states::refused);
    EXPECT_EQ(log_in("eve", "eve's password").problem, login_problem::refused);
    EXPECT_EQ(with_basic("admin", "admin password").state, decision_states::known);
    EXPECT_EQ(lines.count("too many failed logins, now locked"), 2U);
    EXPECT_EQ(lines.count("locked after failed logins"), 2U);
    steps.advance(seconds(300));
    EXPECT_EQ(with_basic("eve", "eve's password").state, decision_states::known);
}

TEST_F(password_access_control_test,
       a_locked_user_keeps_the_sessions_but_not_remembered_passwords) {
    const login opened = log_in("eve", "eve's password");
    EXPECT_EQ(with_basic("eve", "eve's password").state, decision_states::known);
    for (int i = 0; i < 5; ++i) {
        with_basic("eve", "wrong");
    }
    EXPECT_EQ(with_token(opened.token).state, decision_states::known);
    EXPECT_EQ(with_basic("eve", "eve's password").state, decision_states::refused);
}

TEST_F(password_access_control_test, a_login_forgets_earlier_failures) {
    for (int round = 0; round < 3; ++round) {
        for (int i = 0; i < 4; ++i) {
            with_basic("eve", "wrong");
        }
        // Otherwise the remembered credentials would answer.
        steps.advance(seconds(60));
        EXPECT_EQ(with_basic("eve", "eve's password").state, decision_states::known);
    }
}

TEST_F(password_access_control_test, a_password_that_was_right_is_remembered_for_a_minute) {
    EXPECT_EQ(with_basic("eve", "eve's password").state, decision_states::known);
    steps.advance(seconds(59));
    EXPECT_EQ(with_basic("eve", "eve's password").state, decision_states::known);
    EXPECT_EQ(lines.count("login user=\"eve\""), 1U);
    steps.advance(seconds(1));
    EXPECT_EQ(with_basic("eve", "eve's password").state, decision_states::known);
    EXPECT_EQ(lines.count("login user=\"eve\""), 2U);
}

TEST_F(password_access_control_test, a_remembered_password_ends_with_the_account) {
    EXPECT_EQ(with_basic("eve", "eve's password").state, decision_states::known);
    on_access_thread([&] { access->accounts().change("admin", "eve", {nullptr, {}, false}, {}); });
    EXPECT_EQ(with_basic("eve", "eve's password").state, decision_states::refused);
    EXPECT_EQ(lines.count("reason=\"account disabled\""), 1U);
    on_access_thread([&] { access->accounts().remove("admin", "eve", {}); });
    EXPECT_EQ(with_basic("eve", "eve's password").state, decision_states::refused);
}

TEST_F(password_access_control_test, a_password_that_another_process_changed_counts_at_once) {
    const login opened = log_in("eve", "eve's password");
    EXPECT_EQ(with_basic("eve", "eve's password").state, decision_states::known);
    put("eve", roles::operator_role, "another password");
    EXPECT_EQ(with_token(opened.token).state, decision_states::refused);
    EXPECT_EQ(with_basic("eve", "eve's password").state, decision_states::refused);
    EXPECT_EQ(with_basic("eve", "another password").state, decision_states::known);
}

TEST_F(password_access_control_test, a_file_damaged_while_it_runs_changes_nothing) {
    const login opened = log_in("eve", "eve's password");
    test::write_file(path, "damaged");
    EXPECT_EQ(with_token(opened.token).state, decision_states::known);
    EXPECT_EQ(with_basic("admin", "admin password").state, decision_states::known);
    EXPECT_EQ(lines.count("the accounts stay as they were"), 1U);
    EXPECT_EQ(test::read_file(path), "damaged");
}

TEST_F(password_access_control_test, a_file_that_cannot_be_used_ends_the_start) {
    access.reset();
    test::write_file(path, "damaged");
    const auto started =
        password_access_control::start({path, lines.writer(), steps.environment(), 1});
    ASSERT_FALSE(started);
    EXPECT_NE(started.reason().find(path + ": line 1: "), std::string::npos) << started.reason();
    EXPECT_EQ(test::read_file(path), "damaged");
    steps.random_fails = true;
    EXPECT_FALSE(password_access_control::start({path, {}, steps.environment(), 1}));
}

TEST_F(password_access_control_test, a_full_queue_is_answered_as_unavailable) {
    start(1);
    std::promise<void> started;
    std::promise<void> may_end;
    ASSERT_TRUE(access->post([&](worker_thread::modes) {
        started.set_value();
        may_end.get_future().wait();
    }));
    started.get_future().wait();
    std::promise<decision> first;
    std::promise<decision> same;
    const auto right = request_with("Authorization", "Basic " + base64("eve:eve's password"));
    access->identify(right, [&](decision made) { first.set_value(std::move(made)); });
    // Waits for the check of the first, which needs no place in the queue.
    access->identify(right, [&](decision made) { same.set_value(std::move(made)); });
    EXPECT_EQ(with_basic("admin", "admin password").state, decision_states::unavailable);
    EXPECT_EQ(log_in("admin", "admin password").problem, login_problem::unavailable);
    may_end.set_value();
    EXPECT_EQ(first.get_future().get().state, decision_states::known);
    EXPECT_EQ(same.get_future().get().caller.user, "eve");
    EXPECT_EQ(lines.count("login user=\"eve\""), 1U);
}

TEST_F(password_access_control_test, who_waits_at_the_end_gets_an_answer) {
    std::promise<void> started;
    std::promise<void> may_end;
    access->post([&](worker_thread::modes) {
        started.set_value();
        may_end.get_future().wait();
    });
    started.get_future().wait();
    std::atomic<int> answers = 0;
    for (int i = 0; i < 10; ++i) {
        access->identify(
            request_with("Authorization", "Basic " + base64("eve:" + std::to_string(i % 5))),
            [&](const decision& made) {
                EXPECT_NE(made.state, decision_states::known);
                ++answers;
            });
        access->log_in(
            "eve", secret_text(std::string_view("x")), {}, {},
            [&](login_problem problem, const dp_redfish::login_session&, const secret_text&) {
                EXPECT_NE(problem, login_problem::none);
                ++answers;
            });
    }
    may_end.set_value();
    access.reset();
    EXPECT_EQ(answers, 20);
}

TEST_F(password_access_control_test, an_admission_outlives_the_session_but_not_the_account) {
    const secret_text password(std::string_view("another password"));
    const std::vector<dp_redfish::account_store::account_change> changes{
        {&password},
        {nullptr, roles::read_only},
        {nullptr, {}, false},
        {nullptr, {}, {}, false, true}};
    for (const auto& change : changes) {
        put("carol", roles::operator_role, "carol's password");
        access->accounts().refresh();
        const auto session =
            access->sessions().open({{}, "carol", roles::operator_role, {}, {}, {}}).made;
        const auto is_admitted = access->admission_of({"carol", roles::operator_role, session.id});
        EXPECT_TRUE(is_admitted());
        access->sessions().end(session.id, "done");
        EXPECT_TRUE(is_admitted());
        ASSERT_EQ(access->accounts().change("admin", "carol", change, {}),
                  dp_redfish::account_problem::none);
        EXPECT_FALSE(is_admitted());
        ASSERT_EQ(access->accounts().remove("admin", "carol", {}),
                  dp_redfish::account_problem::none);
        EXPECT_FALSE(is_admitted());
    }
}

TEST_F(password_access_control_test, several_threads_can_use_it) {
    constexpr int threads_count = 4;
    constexpr int rounds = 20;
    start(2000);
    std::atomic<int> answers = 0;
    std::vector<std::thread> threads;
    for (int number = 0; number < threads_count; ++number) {
        threads.emplace_back([&, number] {
            const std::string user = number % 2 == 0 ? "eve" : "admin";
            const std::string password = number % 2 == 0 ? "eve's password" : "admin password";
            const auto right =
                request_with("Authorization", "Basic " + base64(user + ":" + password));
            const auto token = request_with("X-Auth-Token", std::string(64, 'f'));
            for (int round = 0; round < rounds; ++round) {
                access->identify(right, [&](const decision& made) {
                    EXPECT_NE(made.state, decision_states::unavailable);
                    ++answers;
                });
                access->identify(token, [&](const decision& made) {
                    EXPECT_EQ(made.state, decision_states::refused);
                    ++answers;
                });
                access->log_in(user, secret_text(password), {}, {},
                               [&](login_problem, const dp_redfish::login_session& opened,
                                   const secret_text&) {
                                   access->sessions().end(opened.id, "done");
                                   ++answers;
                               });
                access->post([&](worker_thread::modes mode) {
                    if (mode == worker_thread::modes::run) {
                        access->accounts().change(
                            "admin", "eve",
                            {nullptr, round % 2 == 0 ? roles::read_only : roles::operator_role},
                            {});
                    }
                    ++answers;
                });
                EXPECT_EQ(access->accounts().list().size(), 2U);
                access->sessions().list();
                EXPECT_FALSE(access->is_locked(user));
                steps.advance(seconds(1));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_TRUE(test::eventually([&] { return answers == threads_count * rounds * 4; }));
}

TEST_F(password_access_control_test, a_check_that_fails_keeps_nobody_waiting) {
    std::atomic<bool> fails = true;
    auto started = password_access_control::start({path,
                                                   [&](const std::string&) {
                                                       if (fails) {
                                                           throw std::bad_alloc();
                                                       }
                                                   },
                                                   steps.environment(),
                                                   1,
                                                   256,
                                                   {512, 2}});
    ASSERT_TRUE(started) << started.reason();
    access = std::move(*started);
    EXPECT_EQ(with_basic("eve", "eve's password").state, decision_states::unavailable);
    EXPECT_EQ(with_basic("bob", "no password").state, decision_states::unavailable);
    fails = false;
    EXPECT_EQ(with_basic("eve", "eve's password").state, decision_states::known);
    EXPECT_EQ(with_basic("bob", "no password").state, decision_states::refused);
    access->stop();
}

}  // namespace
