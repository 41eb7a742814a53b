#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstddef>
#include <ctime>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "platform/dp/alerts.hpp"
#include "platform/fm/alerts.hpp"
#include "platform/posix/message_listener.hpp"
#include "platform/sysipc/message.hpp"
#include "tools/dpctl/changes/interruption.hpp"
#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/output/alert_text.hpp"
#include "tools/dpctl/output/local_time.hpp"

namespace dpctl {
namespace {

using dp_platform::message_listener;
using std::chrono::steady_clock;

constexpr unsigned greatest_queue = 255;
constexpr unsigned longest_wait = 24 * 60 * 60;
constexpr std::size_t message_size = 8192;

struct alert_options {
    std::vector<unsigned> queues{fm::command::alert_queue, dp::command::alert_queue};
    unsigned count = 0;    // 0: any number
    unsigned seconds = 0;  // 0: without end
};

struct queue_listener {
    unsigned number;
    std::unique_ptr<message_listener> listener;
};

// None, and a problem reported, when one of the queues can't be had.
std::vector<queue_listener> open_queues(std::vector<unsigned> numbers, report& rep) {
    std::sort(numbers.begin(), numbers.end());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    std::vector<queue_listener> queues;
    for (const unsigned number : numbers) {
        auto listener = std::make_unique<message_listener>(static_cast<unsigned char>(number));
        if (!listener->is_open()) {
            rep.problem("can't listen: " + listener->error(),
                        {"A message queue has one listener at a time."});
            return {};
        }
        queues.push_back({number, std::move(listener)});
    }
    return queues;
}

// The clock's part of a time.
std::string clock_text(const std::string& time) {
    constexpr std::size_t start = 11;
    constexpr std::size_t length = 8;
    return time.size() > start ? time.substr(start, length) : "-";
}

// Listens until it is told to end; reports alerts as they come.
class alert_watch {
  public:
    alert_watch(std::vector<queue_listener>& queues, const alert_options& options, report& rep)
        : queues_(queues), options_(options), rep_(rep) {
        for (const auto& queue : queues_) {
            handles_.push_back(queue.listener->handle());
        }
    }

    void run(interruption& stop) {
        const auto end = steady_clock::now() + std::chrono::seconds(options_.seconds);
        while (!done_) {
            switch (stop.wait(handles_, time_left(end))) {
                case interruption::event::ready:
                    take_all();
                    break;
                case interruption::event::timeout:
                    if (time_left(end) == 0) {
                        report_time_up();
                        return;
                    }
                    break;
                case interruption::event::interrupted:
                    return;
            }
        }
    }

  private:
    [[nodiscard]] int time_left(steady_clock::time_point end) const {
        return options_.seconds == 0 ? -1 : milliseconds_until(end);
    }

    void report_time_up() {
        if (told_ < options_.count) {
            rep_.problem("only " + std::to_string(told_) + " of " + std::to_string(options_.count) +
                         " alerts came within " + std::to_string(options_.seconds) + " s");
        }
    }

    void take_all() {
        for (const auto& queue : queues_) {
            while (!done_ && take(queue)) {
            }
        }
    }

    // Whether there may be more on the queue.
    bool take(const queue_listener& queue) {
        sysipc::message content(message_size);
        switch (queue.listener->receive(content, 0)) {
            case message_listener::result::received:
                tell(queue.number, content);
                return true;
            case message_listener::result::malformed:
                rep_.note("queue " + std::to_string(queue.number) +
                          ": dropped what is not a message");
                return true;
            case message_listener::result::timeout:
                return false;
            case message_listener::result::failed:
                break;
        }
        rep_.problem("queue " + std::to_string(queue.number) + " can't be read any more");
        done_ = true;
        return false;
    }

    void tell(unsigned queue, sysipc::message& content) {
        const alert_text alert = read_alert(static_cast<int>(queue), content);
        const std::string time = local_time(std::time(nullptr));
        nlohmann::ordered_json document = {{"time", time}};
        document.update(to_json(alert));
        ++told_;
        done_ = !rep_.event(clock_text(time) + "  " + to_line(alert), document) ||
                told_ == options_.count;
    }

    std::vector<queue_listener>& queues_;
    const alert_options& options_;
    report& rep_;
    std::vector<int> handles_;
    unsigned told_ = 0;
    bool done_ = false;
};

void run(const alert_options& options, report& rep) {
    rep.begin_events();
    // The signals first: whatever comes from here on, the queues are removed.
    interruption stop(STDOUT_FILENO);
    auto queues = open_queues(options.queues, rep);
    if (queues.empty()) {
        return;
    }
    std::string numbers;
    for (const auto& queue : queues) {
        numbers += (numbers.empty() ? "" : ", ") + std::to_string(queue.number);
    }
    rep.note((queues.size() == 1 ? "listening on queue " : "listening on queues ") + numbers);
    alert_watch(queues, options, rep).run(stop);
}

}  // namespace

void add_alerts(CLI::App& app, job& what) {
    auto& command =
        add_command(app, what, "alerts", "Listen for alerts and print them as they come",
                    {"dpctl alerts                      # until Ctrl-C",
                     "dpctl alerts --queue 8 --count 1 --wait 60 --json"});
    add_help(
        command,
        "Alerts are messages on the controller's numbered queues: the settings service tells\n"
        "the firmware manager (queue 3) and its plug-ins tell others (queue 8) what happened.\n"
        "A line is the time, the queue, who alerts, what it is, its value and what that means;\n"
        "what has no name is shown as a number. With --json every alert is a document on a line\n"
        "of its own.\n"
        "A queue has one listener at a time; the queues exist while this command runs. SIGINT\n"
        "and SIGTERM end it with exit code 0; with --count and --wait, fewer alerts are a\n"
        "failure.\n");
    const auto options = std::make_shared<alert_options>();
    command
        .add_option("--queue", options->queues, "Listen on this queue; may be repeated (3 and 8)")
        ->type_name("NUMBER")
        ->allow_extra_args(false)
        ->take_all()
        ->check(CLI::Range(0U, greatest_queue));
    command.add_option("--count", options->count, "End after so many alerts")
        ->type_name("NUMBER")
        ->check(CLI::Range(1U, UINT_MAX));
    command.add_option("--wait", options->seconds, "End after so long")
        ->type_name("SECONDS")
        ->check(CLI::Range(1U, longest_wait));
    command.callback(
        [&what, options] { what.run = [options](report& rep) { run(*options, rep); }; });
}

}  // namespace dpctl
