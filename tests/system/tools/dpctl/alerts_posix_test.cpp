#include <fcntl.h>
#include <gmock/gmock.h>
#include <mqueue.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "logs/alerts.hpp"
#include "platform/posix/message_listener.hpp"
#include "settings/plugin.hpp"
#include "tests/support/private_queues.hpp"
#include "tests/support/process.hpp"
#include "tests/support/program.hpp"
#include "tests/support/scratch_files.hpp"

namespace {

using dp_platform::message_listener;
using nlohmann::json;
using std::chrono::steady_clock;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;

// One of the program's output streams.
class output_pipe {
  public:
    output_pipe() = default;
    ~output_pipe() {
        close_write_end();
        close_read_end();
    }
    output_pipe(const output_pipe&) = delete;
    output_pipe& operator=(const output_pipe&) = delete;

    [[nodiscard]] int write_end() const { return ends_.write_end; }
    void close_write_end() { close_end(ends_.write_end); }
    void close_read_end() { close_end(ends_.read_end); }

    // Reads until `wanted` was received, or until the end if it is empty. False after 30 s.
    bool read_until(const std::string& wanted) {
        const auto end = steady_clock::now() + std::chrono::seconds(30);
        while (wanted.empty() || text.find(wanted) == std::string::npos) {
            pollfd entry{ends_.read_end, POLLIN, 0};
            std::array<char, 4096> buffer{};
            if (steady_clock::now() > end || poll(&entry, 1, 1000) < 0) {
                return false;
            }
            if (entry.revents == 0) {
                continue;
            }
            const ssize_t count = read(ends_.read_end, buffer.data(), buffer.size());
            if (count <= 0) {
                return wanted.empty();
            }
            text.append(buffer.data(), static_cast<std::size_t>(count));
        }
        return true;
    }

    std::string text;

  private:
    static void close_end(int& end) {
        if (end >= 0) {
            close(end);
        }
        end = -1;
    }

    test::pipe_ends ends_ = test::make_pipe();
};

// A running dpctl alerts.
class running_alerts {
  public:
    explicit running_alerts(const std::vector<std::string>& options) {
        const std::string path = test::program_path("dpctl");
        std::vector<std::string> words{"alerts"};
        words.insert(words.end(), options.begin(), options.end());
        const test::argument_list arguments("dpctl", words);
        child_ = fork();
        if (child_ == 0) {
            dup2(out.write_end(), STDOUT_FILENO);
            dup2(err.write_end(), STDERR_FILENO);
            // The program would inherit an ignored SIGHUP from tests that were started with nohup.
            ::signal(SIGHUP, SIG_DFL);
            execv(path.c_str(), arguments.data());
            _exit(127);
        }
        out.close_write_end();
        err.close_write_end();
    }
    ~running_alerts() {
        if (child_ > 0) {
            kill(child_, SIGKILL);
            waitpid(child_, nullptr, 0);
        }
    }
    running_alerts(const running_alerts&) = delete;
    running_alerts& operator=(const running_alerts&) = delete;

    void wait_until_listening() {
        EXPECT_TRUE(err.read_until("listening on ") && err.read_until("\n")) << err.text;
    }

    void signal(int number) const { kill(child_, number); }

    // Waits until it ends. Returns its `exit_code_of`, or -1 if it is still running after 30 s.
    int wait() {
        if (!err.read_until("")) {
            return -1;
        }
        return test::wait_for_exit(std::exchange(child_, -1));
    }

    output_pipe out;
    output_pipe err;

  private:
    pid_t child_ = -1;
};

class alerting_plugin : public dp::plugin {
  public:
    alerting_plugin() : dp::plugin("alerting", dp::plugin::settings_owner, 7) {}
    void on_start(dp::registrar&) override {}
    void on_stop(dp::registrar&) override {}
};

class dpctl_alerts : public testing::Test {
  protected:
    dpctl_alerts() { test::clean_root(); }

    static bool has_queue(int number) {
        const mqd_t queue = mq_open(
            ('/' + test::private_queues::prefix() + ".dp.queue." + std::to_string(number)).c_str(),
            O_RDONLY);
        if (queue == static_cast<mqd_t>(-1)) {
            return false;
        }
        mq_close(queue);
        return true;
    }

    test::private_queues queues_;
    alerting_plugin plugin_;
};

TEST_F(dpctl_alerts, prints_the_alerts_of_plugins_and_of_the_service_at_once) {
    running_alerts dpctl({});
    dpctl.wait_until_listening();
    EXPECT_EQ(dpctl.err.text, "dpctl: listening on queues 3, 8\n");
    plugin_.send_alert(dp::command::alerts::settings_changed, 2);
    EXPECT_TRUE(dpctl.out.read_until("\n")) << "at once, although the output is not a terminal";
    EXPECT_THAT(dpctl.out.text,
                ContainsRegex("^[0-9]{2}:[0-9]{2}:[0-9]{2}  queue 8  plugin 7  settings_changed  "
                              "value 2  \\(2 settings changed\\)\n$"));
    dp::send_fm_alert(fm::command::alerts::server_restarted, 0);
    EXPECT_TRUE(
        dpctl.out.read_until("  queue 3  service  server_restarted  value 0  "
                             "(pending values became current)\n"))
        << dpctl.out.text;
    dpctl.signal(SIGTERM);
    EXPECT_EQ(dpctl.wait(), 0);
}

TEST_F(dpctl_alerts, ends_cleanly_and_removes_its_queues_on_a_signal) {
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        running_alerts dpctl({"--queue", "4", "--queue", "5"});
        dpctl.wait_until_listening();
        EXPECT_TRUE(has_queue(4));
        EXPECT_TRUE(has_queue(5));
        dpctl.signal(number);
        EXPECT_EQ(dpctl.wait(), 0) << number;
        EXPECT_FALSE(has_queue(4)) << number;
        EXPECT_FALSE(has_queue(5)) << number;
    }
}

TEST_F(dpctl_alerts, ends_when_its_output_is_closed) {
    running_alerts dpctl({"--queue", "4"});
    dpctl.wait_until_listening();
    dpctl.out.close_read_end();
    EXPECT_NE(dpctl.wait(), -1);
    EXPECT_FALSE(has_queue(4));
}

TEST_F(dpctl_alerts, refuses_a_queue_with_another_listener) {
    const message_listener other(8);
    ASSERT_TRUE(other.is_open()) << other.error();
    const auto result = test::run_program("dpctl", {"alerts", "--wait", "20"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.err, "dpctl: cannot listen: queue /" + test::private_queues::prefix() +
                              ".dp.queue.8 already has a listener\n"
                              "  A message queue has one listener at a time.\n");
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_FALSE(has_queue(3)) << "the queue that was opened first is removed";
    EXPECT_TRUE(has_queue(8)) << "the other's queue is not removed";
    const auto document = test::run_program("dpctl", {"alerts", "--wait", "20", "--json"});
    EXPECT_EQ(document.exit_code, 1);
    EXPECT_EQ(json::parse(document.out)["errors"].size(), 1U);
}

TEST_F(dpctl_alerts, ends_after_the_given_number_of_alerts) {
    running_alerts dpctl({"--count", "2", "--queue", "9"});
    dpctl.wait_until_listening();
    EXPECT_EQ(dp::send_application_alert(6, 9, 1, 11, 50), 0);
    EXPECT_EQ(dp::send_application_alert(6, 9, 1, 16, 51), 0);
    EXPECT_EQ(dpctl.wait(), 0);
    EXPECT_TRUE(dpctl.out.read_until(""));
    EXPECT_THAT(dpctl.out.text, HasSubstr("  queue 9  source 6  kind 11  detail 1  value 50\n"));
    EXPECT_THAT(dpctl.out.text, HasSubstr("  queue 9  source 6  kind 16  value 51\n"));
    EXPECT_FALSE(has_queue(9));
}

TEST_F(dpctl_alerts, ends_after_the_given_time) {
    auto result = test::run_program("dpctl", {"alerts", "--wait", "1"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_THAT(result.out, IsEmpty());
    result = test::run_program("dpctl", {"alerts", "--wait", "1", "--count", "3"});
    EXPECT_EQ(result.exit_code, 1) << "fewer alerts than requested";
    EXPECT_THAT(result.err, HasSubstr("dpctl: received only 0 of 3 alerts within 1 s\n"));
    EXPECT_FALSE(has_queue(3));
    EXPECT_FALSE(has_queue(8));
}

TEST_F(dpctl_alerts, listens_once_to_a_queue_that_is_given_twice) {
    running_alerts dpctl({"--queue", "5", "--queue", "5", "--count", "1"});
    dpctl.wait_until_listening();
    EXPECT_EQ(dpctl.err.text, "dpctl: listening on queue 5\n");
    EXPECT_EQ(dp::send_application_alert(6, 5, 1, 16, 51), 0);
    EXPECT_EQ(dpctl.wait(), 0);
}

TEST_F(dpctl_alerts, opens_a_queue_whose_listener_was_killed) {
    {
        running_alerts killed({"--queue", "5"});
        killed.wait_until_listening();
    }
    EXPECT_TRUE(has_queue(5)) << "the killed listener did not remove it";
    EXPECT_EQ(test::run_program("dpctl", {"alerts", "--queue", "5", "--wait", "1"}).exit_code, 0);
    EXPECT_FALSE(has_queue(5));
}

TEST_F(dpctl_alerts, prints_one_document_per_line_as_json) {
    running_alerts dpctl({"--json", "--count", "2"});
    dpctl.wait_until_listening();
    plugin_.send_alert(dp::command::alerts::bios_updated, 0);
    ASSERT_TRUE(dpctl.out.read_until("}\n")) << "at once";
    json first = json::parse(dpctl.out.text);
    EXPECT_THAT(first["time"].get<std::string>(),
                ContainsRegex("^[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]{8}[+-][0-9]{4}$"));
    first.erase("time");
    EXPECT_EQ(first, json::parse(R"({"queue": 8, "kind": 1, "from": "plugin 7", "value": 0,
                  "alert": "bios_updated", "meaning": "the template was replaced"})"));
    dpctl.out.text.clear();
    plugin_.send_alert(static_cast<dp::command::alerts>(99), 3);
    EXPECT_EQ(dpctl.wait(), 0);
    ASSERT_TRUE(dpctl.out.read_until(""));
    EXPECT_EQ(json::parse(dpctl.out.text)["alert"], "alert 99");
}

TEST_F(dpctl_alerts, has_a_help_with_examples) {
    const auto result = test::run_program("dpctl", {"alerts", "--help"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_THAT(result.out, HasSubstr("Examples:\n  dpctl alerts"));
    EXPECT_THAT(result.out, HasSubstr("With --json, each alert is a document"));
    EXPECT_THAT(test::run_program("dpctl", {"--help"}).out, HasSubstr("\n  alerts "));
}

TEST_F(dpctl_alerts, refuses_invalid_numbers) {
    for (const std::vector<std::string>& options :
         std::vector<std::vector<std::string>>{{"--queue", "256"},
                                               {"--queue", "-1"},
                                               {"--queue"},
                                               {"--queue", "x"},
                                               {"--count", "0"},
                                               {"--wait", "0"},
                                               {"8"}}) {
        std::vector<std::string> arguments{"alerts"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        EXPECT_EQ(test::run_program("dpctl", arguments).exit_code, 2)
            << testing::PrintToString(options);
    }
}

}  // namespace
