#include "redfish/access/session_store.hpp"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/stepped_access.hpp"

namespace {

using dp_redfish::roles;
using dp_redfish::session_store;
using std::chrono::seconds;
using open_problem = session_store::open_problem;

class session_store_test : public testing::Test {
  protected:
    session_store::opened open(const std::string& user) {
        return sessions.open({{}, user, roles::operator_role, "127.0.0.1", "context", {}});
    }
    static std::string token_of(const session_store::opened& opened) {
        return std::string(opened.token.view());
    }

    test::stepped_access steps;
    test::kept_lines lines;
    dp_redfish::audit_log log{lines.writer()};
    session_store sessions{steps.environment(), log, {6, 3}};
};

TEST_F(session_store_test, a_session_is_found_by_its_token) {
    const auto opened = open("a");
    ASSERT_EQ(opened.problem, open_problem::none);
    const auto found = sessions.use(opened.token.view());
    ASSERT_TRUE(found);
    EXPECT_EQ(found->id, opened.made.id);
    EXPECT_EQ(found->user, "a");
    EXPECT_EQ(found->role, roles::operator_role);
    EXPECT_EQ(found->peer, "127.0.0.1");
    EXPECT_EQ(found->context, "context");
    EXPECT_EQ(found->created, steps.environment().wall_now());
}

TEST_F(session_store_test, tokens_have_256_bits_and_differ_and_the_id_is_no_part_of_it) {
    std::set<std::string> tokens;
    for (int i = 0; i < 3; ++i) {
        const auto opened = open("a");
        EXPECT_EQ(opened.token.view().size(), 64U);
        EXPECT_EQ(token_of(opened).find(opened.made.id), std::string::npos);
        tokens.insert(token_of(opened));
    }
    EXPECT_EQ(tokens.size(), 3U);
}

TEST_F(session_store_test, another_token_finds_nothing) {
    const auto opened = open("a");
    std::string token = token_of(opened);
    token.back() = token.back() == '0' ? '1' : '0';
    EXPECT_FALSE(sessions.use(token));
    EXPECT_FALSE(sessions.use(token_of(opened).substr(1)));
    EXPECT_FALSE(sessions.use(token_of(opened) + " "));
    EXPECT_FALSE(sessions.use(""));
    EXPECT_FALSE(sessions.use(std::string("\0\xFF\n", 3)));
    EXPECT_FALSE(sessions.use(std::string(1 << 20, 'a')));
    EXPECT_FALSE(sessions.use(opened.made.id));
}

TEST_F(session_store_test, a_session_ends_when_it_was_not_used_for_the_timeout) {
    const auto opened = open("a");
    steps.advance(seconds(1799));
    EXPECT_TRUE(sessions.use(opened.token.view()));
    steps.advance(seconds(1799));
    EXPECT_TRUE(sessions.use(opened.token.view()));
    steps.advance(seconds(1800));
    EXPECT_FALSE(sessions.use(opened.token.view()));
    EXPECT_EQ(lines.count("reason=\"not used for too long\""), 1U) << lines.text();
    EXPECT_FALSE(sessions.find(opened.made.id));
}

TEST_F(session_store_test, looking_at_a_session_is_no_use) {
    const auto opened = open("a");
    steps.advance(seconds(1799));
    EXPECT_TRUE(sessions.find(opened.made.id));
    EXPECT_EQ(sessions.list().size(), 1U);
    steps.advance(seconds(1));
    EXPECT_FALSE(sessions.find(opened.made.id));
    EXPECT_TRUE(sessions.list().empty());
    EXPECT_FALSE(sessions.end(opened.made.id, "x"));
}

TEST_F(session_store_test, another_timeout_counts_for_open_sessions) {
    const auto opened = open("a");
    sessions.set_timeouts({.session_timeout = seconds(30)});
    steps.advance(seconds(29));
    EXPECT_TRUE(sessions.use(opened.token.view()));
    steps.advance(seconds(30));
    EXPECT_FALSE(sessions.use(opened.token.view()));
}

TEST_F(session_store_test, the_number_of_sessions_is_limited_for_each_user_and_all) {
    for (const char* const user : {"a", "a", "a", "b", "b"}) {
        EXPECT_EQ(open(user).problem, open_problem::none);
    }
    EXPECT_EQ(open("a").problem, open_problem::too_many);
    EXPECT_EQ(open("b").problem, open_problem::none);
    EXPECT_EQ(open("c").problem, open_problem::too_many);
    EXPECT_EQ(sessions.list().size(), 6U);
    // Those that timed out do not count.
    steps.advance(seconds(1800));
    EXPECT_EQ(open("a").problem, open_problem::none);
    EXPECT_EQ(sessions.list().size(), 1U);
}

TEST_F(session_store_test, an_ended_session_is_gone) {
    const auto opened = open("a");
    EXPECT_TRUE(sessions.end(opened.made.id, "ended by a"));
    EXPECT_FALSE(sessions.end(opened.made.id, "ended by a"));
    EXPECT_FALSE(sessions.use(opened.token.view()));
    EXPECT_EQ(lines.text(),
              "audit: session ended id=" + opened.made.id + " user=\"a\" reason=\"ended by a\"\n");
}

TEST_F(session_store_test, all_sessions_of_a_user_end) {
    const auto first = open("a");
    const auto second = open("a");
    const auto other = open("b");
    sessions.end_all("a", "password changed");
    EXPECT_FALSE(sessions.use(first.token.view()));
    EXPECT_FALSE(sessions.use(second.token.view()));
    EXPECT_TRUE(sessions.use(other.token.view()));
}

TEST_F(session_store_test, they_are_listed_in_the_order_of_their_logins) {
    for (const char* const user : {"c", "a", "b"}) {
        open(user);
    }
    std::string users;
    for (const auto& one : sessions.list()) {
        users += one.user;
    }
    EXPECT_EQ(users, "cab");
}

TEST_F(session_store_test, without_random_numbers_there_is_no_session) {
    steps.random_fails = true;
    EXPECT_EQ(open("a").problem, open_problem::no_random_numbers);
    EXPECT_TRUE(sessions.list().empty());
}

TEST_F(session_store_test, a_session_in_use_ends_when_it_was_open_for_too_long) {
    sessions.set_timeouts({.session_timeout = seconds(60),
                           .has_absolute_timeout = true,
                           .absolute_timeout = seconds(100)});
    const auto opened = sessions.open({{}, "a", roles::read_only, {}, {}, {}});
    steps.advance(seconds(50));
    EXPECT_TRUE(sessions.use(opened.token.view()));
    steps.advance(seconds(49));
    EXPECT_TRUE(sessions.use(opened.token.view()));
    steps.advance(seconds(1));
    EXPECT_FALSE(sessions.use(opened.token.view()));
    EXPECT_EQ(lines.count("reason=\"open for too long\""), 1U);
}

TEST_F(session_store_test, one_session_of_a_user_can_be_kept) {
    const auto kept = sessions.open({{}, "a", roles::read_only, {}, {}, {}});
    const auto other = sessions.open({{}, "a", roles::read_only, {}, {}, {}});
    sessions.end_all("a", "password changed", kept.made.id);
    EXPECT_TRUE(sessions.find(kept.made.id));
    EXPECT_FALSE(sessions.find(other.made.id));
}

TEST_F(session_store_test, random_numbers_that_repeat_open_no_second_session) {
    auto environment = steps.environment();
    environment.fill_random = [](std::span<unsigned char> bytes) {
        std::fill(bytes.begin(), bytes.end(), static_cast<unsigned char>(7));
        return true;
    };
    session_store stuck(environment, log, {6, 3});
    EXPECT_EQ(stuck.open({{}, "a", roles::read_only, {}, {}, {}}).problem, open_problem::none);
    EXPECT_EQ(stuck.open({{}, "b", roles::read_only, {}, {}, {}}).problem,
              open_problem::no_random_numbers);
    EXPECT_EQ(stuck.list().size(), 1U);
}

TEST_F(session_store_test, several_threads_can_use_it) {
    session_store shared(steps.environment(), log, {512, 512});
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([&, user = std::string(1, static_cast<char>('a' + number))] {
            for (int round = 0; round < 200; ++round) {
                const auto opened = shared.open({{}, user, roles::read_only, {}, {}, {}});
                EXPECT_TRUE(shared.use(opened.token.view()));
                shared.list();
                shared.set_timeouts({.session_timeout = seconds(60 + round)});
                EXPECT_TRUE(shared.end(opened.made.id, "done"));
                EXPECT_FALSE(shared.use(opened.token.view()));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_TRUE(shared.list().empty());
}

}  // namespace
