#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstddef>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "platform/dp/alerts.hpp"
#include "platform/fm/alerts.hpp"
#include "platform/posix/message_listener.hpp"
#include "platform/sysipc/message.hpp"
#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/output/alert_text.hpp"
#include "tools/dpctl/output/local_time.hpp"
#include "tools/dpctl/system/signal_wait.hpp"

namespace dpctl {
namespace {

using dp_platform::message_listener;
using dp_support::command_line;
using std::chrono::steady_clock;

constexpr unsigned greatest_queue = 255;
constexpr unsigned longest_wait = 24 * 60 * 60;
constexpr std::size_t message_size = 8192;

struct alert_options {
    std::vector<unsigned> queues{fm::command::alert_queue, dp::command::alert_queue};
    unsigned count = 0;    // 0: no limit
    unsigned seconds = 0;  // 0: no limit
};

struct queue_listener {
    unsigned number;
    std::unique_ptr<message_listener> listener;
};

// Empty, and a problem is reported, if one of the queues cannot be opened.
std::vector<queue_listener> open_queues(std::vector<unsigned> numbers, report& rep) {
    std::sort(numbers.begin(), numbers.end());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    std::vector<queue_listener> queues;
    for (const unsigned number : numbers) {
        auto listener = std::make_unique<message_listener>(static_cast<unsigned char>(number));
        if (!listener->is_open()) {
            rep.problem("cannot listen: " + listener->error(),
                        {"A message queue has one listener at a time."});
            return {};
        }
        queues.push_back({number, std::move(listener)});
    }
    return queues;
}

// The time of day in a `local_time`.
std::string time_of_day(const std::string& time) {
    constexpr std::size_t start = 11;
    constexpr std::size_t length = 8;
    return time.size() > start ? time.substr(start, length) : "-";
}

// Receives alerts and reports them at once, until it is stopped.
class alert_watch {
  public:
    alert_watch(std::vector<queue_listener>& queues, const alert_options& options, report& rep)
        : queues_(queues), options_(options), rep_(rep) {
        for (const auto& queue : queues_) {
            descriptors_.push_back(queue.listener->handle());
        }
    }

    void run(signal_wait& signals) {
        const auto end = steady_clock::now() + std::chrono::seconds(options_.seconds);
        while (!done_) {
            switch (signals.wait(descriptors_, time_left(end))) {
                case signal_wait::event::ready:
                    receive_all();
                    break;
                case signal_wait::event::timeout:
                    if (time_left(end) == 0) {
                        report_time_up();
                        return;
                    }
                    break;
                case signal_wait::event::stopped:
                    return;
            }
        }
    }

  private:
    [[nodiscard]] int time_left(steady_clock::time_point end) const {
        return options_.seconds == 0 ? -1 : milliseconds_until(end);
    }

    void report_time_up() {
        if (received_ < options_.count) {
            rep_.problem("received only " + std::to_string(received_) + " of " +
                         std::to_string(options_.count) + " alerts within " +
                         std::to_string(options_.seconds) + " s");
        }
    }

    void receive_all() {
        for (const auto& queue : queues_) {
            while (!done_ && receive(queue)) {
            }
        }
    }

    // Whether there may be more messages in the queue.
    bool receive(const queue_listener& queue) {
        sysipc::message content(message_size);
        switch (queue.listener->receive(content, 0)) {
            case message_listener::result::received:
                report_alert(queue.number, content);
                return true;
            case message_listener::result::malformed:
                rep_.note("queue " + std::to_string(queue.number) +
                          ": dropped data that is not a message");
                return true;
            case message_listener::result::timeout:
                return false;
            case message_listener::result::failed:
                break;
        }
        rep_.problem("queue " + std::to_string(queue.number) + " cannot be read any longer");
        done_ = true;
        return false;
    }

    void report_alert(unsigned queue, sysipc::message& content) {
        const alert_text alert = read_alert(static_cast<int>(queue), content);
        const std::string time = local_time(std::time(nullptr));
        auto document = dp_support::json_value::object({{"time", time}});
        document.merge(to_json(alert));
        ++received_;
        done_ = !rep_.event(time_of_day(time) + "  " + to_line(alert), document) ||
                received_ == options_.count;
    }

    std::vector<queue_listener>& queues_;
    const alert_options& options_;
    report& rep_;
    std::vector<int> descriptors_;
    unsigned received_ = 0;
    bool done_ = false;
};

void run_alerts(const alert_options& options, report& rep) {
    rep.begin_events();
    // Block the signals before the queues are created, so that the queues are removed in any case.
    signal_wait signals(STDOUT_FILENO);
    auto queues = open_queues(options.queues, rep);
    if (queues.empty()) {
        return;
    }
    std::string numbers;
    for (const auto& queue : queues) {
        numbers += (numbers.empty() ? "" : ", ") + std::to_string(queue.number);
    }
    rep.note((queues.size() == 1 ? "listening on queue " : "listening on queues ") + numbers);
    alert_watch(queues, options, rep).run(signals);
}

}  // namespace

void add_alerts(command_line& program, invocation& request) {
    auto& command = add_command(
        program, request, "alerts",
        {.summary = "Listen for alerts and print them at once",
         .details =
             "Alerts are messages on the controller's numbered queues. The settings service\n"
             "alerts the firmware manager on queue 3, and its plug-ins send alerts to queue 8.\n"
             "A line has the time, the queue, the sender, the alert, its value and its meaning;\n"
             "what has no name is shown as a number. With --json, each alert is a document on\n"
             "a line of its own.\n"
             "A queue has one listener at a time; the queues exist while this command runs.\n"
             "SIGINT and SIGTERM end it with exit code 0. With --count and --wait, fewer\n"
             "alerts are a failure.\n",
         .examples = {"dpctl alerts                      # until Ctrl-C",
                      "dpctl alerts --queue 8 --count 1 --wait 60 --json"}});
    const auto options = std::make_shared<alert_options>();
    command.add_option("--queue", options->queues,
                       "Listen on this queue; may be repeated (3 and 8)",
                       {.least = 0, .greatest = greatest_queue}, {.value_name = "NUMBER"});
    command.add_option("--count", options->count, "End after this many alerts",
                       {.least = 1, .greatest = UINT_MAX}, {.value_name = "NUMBER"});
    command.add_option("--wait", options->seconds, "End after this time",
                       {.least = 1, .greatest = longest_wait}, {.value_name = "SECONDS"});
    command.on_selected([&request, options] {
        request.run = [options](report& rep) { run_alerts(*options, rep); };
    });
}

}  // namespace dpctl
