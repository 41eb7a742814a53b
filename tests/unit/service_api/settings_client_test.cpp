#include "service_api/settings_client.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "service_api/service_status.hpp"
#include "tests/support/eventually.hpp"
#include "tests/support/fake_request_service.hpp"
#include "tests/support/scratch_files.hpp"

namespace {

using client = dp_service::settings_client;
using dp_service::request_protocol::request_header;
using states = dp_service::settings_client::states;
using test::fake_request_service;
using test::service_end;
using testing::HasSubstr;

class settings_client_test : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }

    /// The outcome of a change of Boot.Mode to "x", whose request is answered with `lines`.
    client::result outcome_of(const std::string& lines) {
        changes = {{"Boot.Mode", "x"}};
        const fake_request_service service([&](service_end& peer) {
            request_header header;
            std::string text;
            if (peer.take_request(header, text)) {
                peer.answer(0, lines);
            }
        });
        return settings.change_settings(changes);
    }

    client settings;
    std::vector<client::change> changes;
};

TEST_F(settings_client_test, sends_a_batch_and_returns_the_outcome_of_each_change) {
    changes = {{"Boot.Mode", "a \"b\" \\"}, {"Boot.Order.2", "x", dp::op_delete}};
    request_header header;
    std::string text;
    const fake_request_service service([&](service_end& peer) {
        peer.take_request(header, text);
        peer.answer(0,
                    "0 1 t set Boot.Mode \"x\" \"stored \\\"b\\\"\" \n"
                    "55 2 t delete Boot.Order.2 \"\" \"\" \n");
    });
    const auto answer = settings.change_settings(changes, "v1");
    EXPECT_EQ(answer.state, states::answered);
    EXPECT_EQ(answer.reason, "");
    EXPECT_EQ(header.kind, "batch");
    EXPECT_EQ(header.planned_on, "v1");
    const std::string tid = "<client-" + std::to_string(getpid()) + ">";
    EXPECT_EQ(text, "0 1 " + tid + " set Boot.Mode \"a \\\"b\\\" \\\\\" \"\" \n" + "0 2 " + tid +
                        " delete Boot.Order.2 \"x\" \"\" \n");
    EXPECT_EQ(changes[0].status, 0);
    EXPECT_EQ(changes[0].stored, "stored \"b\"");
    EXPECT_EQ(changes[1].status, 55);
    EXPECT_EQ(changes[1].stored, "");
}

TEST_F(settings_client_test, names_the_person_for_whom_it_acts) {
    request_header header;
    const fake_request_service service([&](service_end& peer) {
        std::string text;
        if (peer.take_request(header, text)) {
            peer.answer(0, "");
        }
    });
    EXPECT_EQ(settings.restart().state, states::answered);
    EXPECT_EQ(header.on_behalf_of, "");
    settings.on_behalf_of = "eve@example.org";
    EXPECT_EQ(settings.restart().state, states::answered);
    EXPECT_EQ(header.on_behalf_of, "eve@example.org");
    for (const char* const name : {"eve x", "eve,uid=0", "eve\n"}) {
        settings.on_behalf_of = name;
        const auto answer = settings.restart();
        EXPECT_EQ(answer.state, states::refused) << name;
        EXPECT_EQ(answer.status, dp_service::service_status::malformed_line);
    }
    EXPECT_TRUE(test::eventually([&] { return service.handled() >= 2; }));
    EXPECT_EQ(service.handled(), 2);
}

TEST_F(settings_client_test, returns_the_reason_of_a_refused_change) {
    outcome_of("62 1 t set Boot.Mode \"x\" \"read-only because A is \\\"b\\\"\" \n");
    EXPECT_EQ(changes[0].status, 62);
    EXPECT_EQ(changes[0].stored, "");
    EXPECT_EQ(changes[0].reason, "read-only because A is \"b\"");
}

TEST_F(settings_client_test, returns_what_dependencies_changed) {
    changes = {{"Boot.Mode", "x"}};
    const std::string lines =
        "<t> T   Boot.Delay   \"9\"   was \"1\"   because \"Mode is x\"\nno record\n";
    const fake_request_service service([&](service_end& peer) {
        request_header header;
        std::string text;
        if (peer.take_request(header, text)) {
            peer.send("dependent 1 " + std::to_string(lines.size()) + '\n' + lines);
            peer.answer(0, "0 1 t set Boot.Mode \"x\" \"x\" \n");
        }
    });
    const auto answer = settings.change_settings(changes);
    EXPECT_EQ(answer.state, states::answered);
    ASSERT_EQ(answer.dependent.size(), 1U);
    EXPECT_EQ(answer.dependent[0].target, "Boot.Delay");
    EXPECT_EQ(answer.dependent[0].value, "9");
    EXPECT_EQ(answer.dependent[0].before, "1");
    EXPECT_EQ(answer.dependent[0].cause, "Mode is x");
}

TEST_F(settings_client_test, an_answer_that_does_not_match_the_request_is_none) {
    for (const char* lines :
         {"", "garbage\n", "0 2 t set Boot.Mode \"x\" \"x\" \n",
          "0 1 t set Boot.Other \"x\" \"x\" \n",
          "0 1 t set Boot.Mode \"x\" \"x\" \n0 2 t set A.B \"\" \"\" \n",
          "x 1 t set Boot.Mode \"x\" \"x\" \n", "99999 1 t set Boot.Mode \"x\" \"x\" \n"}) {
        EXPECT_EQ(outcome_of(lines).state, states::unanswered) << lines;
        EXPECT_EQ(changes[0].status, 255) << lines;
    }
    EXPECT_EQ(outcome_of("16 1 t set ERR.INVALID_SETTING \"x\" \"\" \n").state, states::answered);
    EXPECT_EQ(changes[0].status, 16);
}

TEST_F(settings_client_test, refuses_what_a_batch_cannot_carry_and_sends_nothing) {
    const fake_request_service service([](service_end& /*peer*/) {});
    const std::vector<client::change> bad[] = {{{"", "x"}},
                                               {{"A B.C", "x"}},
                                               {{"A.B\n", "x"}},
                                               {{"A.\"", "x"}},
                                               {{"#A.B", "x"}},
                                               {{"A.B", "x\ny"}},
                                               {{"A.B", std::string("x\0", 2)}},
                                               {{"A.B", "x"}, {"A.\\", "x"}}};
    for (auto each : bad) {
        const auto answer = settings.change_settings(each);
        EXPECT_EQ(answer.state, states::refused) << each.back().name;
        EXPECT_EQ(answer.status, dp_service::service_status::malformed_line);
    }
    EXPECT_EQ(service.handled(), 0);
}

TEST_F(settings_client_test, reports_at_once_that_there_is_no_service) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(settings.restart().state, states::no_service);
    std::filesystem::create_directories(test::root() + "/run/dp");
    EXPECT_EQ(settings.restart().state, states::no_service);
    {
        const fake_request_service service([](service_end& /*peer*/) {});
    }
    test::write_file(test::root() + "/run/dp/settings.sock", "");
    const auto answer = settings.restart();
    EXPECT_EQ(answer.state, states::no_service);
    EXPECT_THAT(answer.reason, HasSubstr("dp_settingsd is not running"));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
}

TEST_F(settings_client_test, the_path_of_the_socket_may_be_longer_than_an_address) {
    const fake_request_service service([](service_end& peer) {
        peer.read_line();
        peer.send("refused 60 0\n");
    });
    const std::string folder = test::root() + '/' + std::string(120, 'x');
    std::filesystem::rename(test::root() + "/run/dp", folder);
    settings.socket_path = folder + "/settings.sock";
    EXPECT_EQ(settings.restart().state, states::refused);
}

TEST_F(settings_client_test, does_not_trust_a_folder_that_others_can_write_to) {
    const fake_request_service service([](service_end& /*peer*/) {});
    ASSERT_EQ(chmod((test::root() + "/run/dp").c_str(), 0770), 0);
    const auto answer = settings.restart();
    EXPECT_EQ(answer.state, states::no_service);
    EXPECT_THAT(answer.reason, HasSubstr("other users can write to"));
    std::filesystem::rename(test::root() + "/run/dp", test::root() + "/run/real");
    ASSERT_EQ(symlink("real", (test::root() + "/run/dp").c_str()), 0);
    EXPECT_EQ(settings.restart().state, states::no_service);
    EXPECT_EQ(service.handled(), 0);
}

TEST_F(settings_client_test, does_not_trust_a_folder_or_service_of_another_user) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give a folder away";
    }
    const fake_request_service service([](service_end& /*peer*/) {});
    ASSERT_EQ(chown((test::root() + "/run/dp").c_str(), 12345, 0), 0);
    const auto answer = settings.restart();
    EXPECT_EQ(answer.state, states::no_service);
    EXPECT_THAT(answer.reason, HasSubstr("belongs to user 12345"));
}

TEST_F(settings_client_test, reports_waiting_start_and_progress) {
    const fake_request_service service([](service_end& peer) {
        peer.read_line();
        peer.send("waiting 2\nwaiting 1\nready\n");
        EXPECT_EQ(peer.read_line(), "go");
        peer.send("progress 1 2\nanswer 0 2\no");
        peer.send("k");
    });
    std::string events;
    settings.on_waiting = [&](std::uint32_t ahead) { events += "w" + std::to_string(ahead); };
    settings.on_start = [&] { events += "s"; };
    settings.on_progress = [&](std::uint32_t done, std::uint32_t total) {
        events += "p" + std::to_string(done) + "/" + std::to_string(total);
    };
    const auto answer = settings.restart();
    EXPECT_EQ(answer.state, states::answered);
    EXPECT_EQ(answer.text, "ok");
    EXPECT_EQ(events, "w2w1sp1/2");
}

TEST_F(settings_client_test, a_refused_request_has_the_reason) {
    const fake_request_service service([](service_end& peer) {
        peer.read_line();
        peer.send("refused 60 7\nchanged");
    });
    const auto answer = settings.restart();
    EXPECT_EQ(answer.state, states::refused);
    EXPECT_EQ(answer.status, 60);
    EXPECT_EQ(answer.reason, "changed");
}

// A pipe that cancels the request when it becomes readable.
class settings_client_cancel : public settings_client_test {
  protected:
    void SetUp() override {
        settings_client_test::SetUp();
        ASSERT_EQ(pipe(ends_), 0);
        settings.cancel_descriptor = ends_[0];
    }
    void TearDown() override {
        close(ends_[0]);
        close(ends_[1]);
    }
    void cancel() { EXPECT_EQ(write(ends_[1], "x", 1), 1); }

  private:
    int ends_[2];
};

TEST_F(settings_client_cancel, before_its_turn_withdraws_the_request) {
    cancel();
    std::string after;
    client::result answer;
    {
        const fake_request_service service([&](service_end& peer) {
            peer.read_line();
            after = peer.read_line();
        });
        answer = settings.restart();
    }
    EXPECT_EQ(answer.state, states::withdrawn);
    EXPECT_EQ(after, "");
}

TEST_F(settings_client_cancel, at_its_turn_withdraws_the_request) {
    std::string after = "nothing";
    client::result answer;
    {
        const fake_request_service service([&](service_end& peer) {
            peer.read_line();
            cancel();
            peer.send("ready\n");
            after = peer.read_line();
        });
        answer = settings.restart();
    }
    EXPECT_EQ(answer.state, states::withdrawn);
    EXPECT_EQ(after, "");
}

TEST_F(settings_client_test, a_request_that_waits_for_too_long_is_withdrawn) {
    const fake_request_service service([&](service_end& peer) {
        peer.read_line();
        EXPECT_EQ(peer.read_line(), "");
    });
    settings.start_timeout = std::chrono::milliseconds(20);
    const auto answer = settings.restart();
    EXPECT_EQ(answer.state, states::withdrawn);
    EXPECT_THAT(answer.reason, HasSubstr("nothing was changed"));
}

TEST_F(settings_client_test, a_request_that_started_and_is_not_answered_in_time_was_started) {
    const fake_request_service service([&](service_end& peer) {
        request_header header;
        std::string text;
        EXPECT_TRUE(peer.take_request(header, text));
        EXPECT_EQ(peer.read_line(), "");
    });
    settings.answer_timeout = std::chrono::milliseconds(20);
    const auto answer = settings.restart();
    EXPECT_EQ(answer.state, states::unanswered);
    EXPECT_THAT(answer.reason, HasSubstr("the request had started"));
}

TEST_F(settings_client_test, garbage_ends_the_exchange) {
    const std::string long_line(1000, 'x');
    for (const std::string& garbage :
         {std::string("garbage\n"), long_line, std::string("answer 0 0\n"),
          std::string("refused 1 99999999\n"), std::string("ready\nready\n"), std::string()}) {
        const fake_request_service service([&](service_end& peer) {
            peer.read_line();
            peer.send(garbage);
            if (!garbage.empty()) {
                peer.read_line();
            }
        });
        const auto answer = settings.restart();
        EXPECT_NE(answer.state, states::answered) << garbage;
        EXPECT_NE(answer.state, states::refused) << garbage;
    }
}

}  // namespace
