#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "service_api/server_paths.hpp"
#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/output/local_time.hpp"
#include "tools/dpctl/output/printable_text.hpp"
#include "tools/dpctl/output/table.hpp"
#include "tools/dpctl/status/status_follower.hpp"
#include "tools/dpctl/status/transaction_state.hpp"
#include "tools/dpctl/system/folder_watch.hpp"
#include "tools/dpctl/system/signal_wait.hpp"
#include "tools/dpctl/system/stable_read.hpp"
#include "tools/dpctl/values/waiting_values.hpp"

namespace dpctl {
namespace {

using dp_support::command_line;
using dp_support::json_value;
using std::chrono::steady_clock;

// Status files have at most 8 KiB, and more only with a single very long text.
constexpr std::size_t status_limit = std::size_t{4} << 20;

struct status_options {
    std::string file;
    bool follow = false;
};

std::string file_of(const status_options& options) {
    return options.file.empty() ? dp_service::server_paths::process_status.str() : options.file;
}

std::string time_of_write(const file_version& version) {
    return local_time(static_cast<std::time_t>(version.seconds));
}

// A `local_time` for a person.
std::string date_and_time(const std::string& time) {
    const std::size_t middle = time.find('T');
    constexpr std::size_t time_length = 8;
    return middle == std::string::npos
               ? "-"
               : time.substr(0, middle) + ' ' + time.substr(middle + 1, time_length);
}

std::string lines(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " line" : " lines");
}

void show_failures(const transaction_state& state, report& rep) {
    if (!state.failed.empty()) {
        rep.line("");
        table rows({"FAILED", "STATUS", "REASON"});
        for (const auto& command : state.failed) {
            rows.add({command.name, std::to_string(command.status), explain_failure(command)});
        }
        rep.show(rows);
    }
    if (state.missing_failures() > 0) {
        rep.line("The file no longer contains " + std::to_string(state.missing_failures()) +
                 " more that failed.");
    }
}

void show_transaction(const file_snapshot& file, const transaction_state& state, report& rep) {
    constexpr std::size_t label_width = 13;
    rep.item(label_width, "Transaction", state.name.empty() ? "\"\"" : state.name);
    rep.item(label_width, "Progress", describe_progress(state));
    for (const auto& message : state.messages) {
        rep.item(label_width, "Message", message);
    }
    if (state.outfile) {
        rep.item(label_width, "Answer", *state.outfile);
    }
    rep.item(label_width, "Written", date_and_time(time_of_write(file.version)));
    show_failures(state, rep);
}

void show_remarks(const status_records& content, const transaction_state& state, report& rep) {
    if (state.earlier > 0) {
        rep.line("The file also contains " + std::to_string(state.earlier) +
                 " earlier transaction" + (state.earlier == 1 ? "." : "s."));
    }
    if (state.is_pruned) {
        rep.line("The oldest records were dropped from the file.");
    }
    if (content.foreign_lines > 0) {
        rep.line(
            "Ignored: " + lines(content.foreign_lines) + " that " +
            (content.foreign_lines == 1 ? "is not a status record." : "are not status records."));
    }
    if (content.is_incomplete) {
        rep.line("Ignored: the last line, which is incomplete.");
    }
}

void show_status(const file_snapshot& file, report& rep) {
    if (!file.exists) {
        rep.line("No transaction has run: " + file.path + " does not exist.");
        return;
    }
    const status_records content = read_records(file.text.value_or(""));
    const transaction_state state = summarize(content.records);
    if (state.is_known) {
        show_transaction(file, state, rep);
    } else if (!content.records.empty()) {
        rep.line("No transaction has begun: " + file.path + " contains only its first record.");
    } else {
        rep.line(file.path + (file.text->empty() ? " is empty." : " contains no status records."));
    }
    show_remarks(content, state, rep);
}

void fill(const file_snapshot& file, json_value& document) {
    const status_records content = read_records(file.text.value_or(""));
    document.set("file", file.path);
    document.set("exists", file.exists);
    document.set("written", file.exists ? json_value(time_of_write(file.version)) : json_value());
    document.merge(to_json(summarize(content.records)));
    document.set("foreign_lines", content.foreign_lines);
    document.set("incomplete", content.is_incomplete);
}

// Whether the server must restart before the pending values are current.
void show_restart(report& rep) {
    const auto waiting = count_waiting_values();
    auto& document = rep.document();
    document.set("restart_needed", waiting ? json_value(*waiting != 0) : json_value());
    document.set("pending_changes", waiting ? json_value(*waiting) : json_value());
    if (!waiting) {
        return;
    }
    rep.line(*waiting == 0 ? "No restart is needed: all pending values are current."
                           : "A restart is needed: " + std::to_string(*waiting) +
                                 (*waiting == 1 ? " pending value is" : " pending values are") +
                                 " not current.");
}

void show_once(const status_options& options, report& rep) {
    // The service creates its status file with the first transaction.
    const file_snapshot file =
        read_stable(options.file, dp_service::server_paths::process_status.str(), status_limit);
    if (!file.error.empty()) {
        rep.problem(file.error);
        return;
    }
    fill(file, rep.document());
    show_status(file, rep);
    if (options.file.empty()) {
        show_restart(rep);
    }
}

// Shows the file after each change until it is stopped.
class status_watch {
  public:
    status_watch(std::string path, report& rep)
        : path_(std::move(path)),
          rep_(rep),
          on_screen_(!rep.as_json() && isatty(STDOUT_FILENO) == 1) {}

    void run() {
        rep_.begin_events();
        signal_wait signals(STDOUT_FILENO);
        folder_watch folder(path_);
        while (true) {
            const bool is_watched = folder.renew();
            if (!update()) {
                return;
            }
            const auto pause = unsure_since_ || !is_watched ? short_pause : long_pause;
            if (signals.wait({folder.descriptor()}, static_cast<int>(pause.count())) ==
                signal_wait::event::stopped) {
                return;
            }
        }
    }

  private:
    // A file that has not changed for the short pause is complete. The file is also read after
    // these pauses in case the folder is not watched or an event is lost.
    static constexpr std::chrono::milliseconds short_pause{200};
    static constexpr std::chrono::milliseconds long_pause{2000};

    // False when the output was lost.
    bool update() {
        const file_snapshot file = read_stable(path_, status_limit);
        if (on_screen_) {
            return draw(file);
        }
        note_absence(file);
        const auto now = steady_clock::now();
        if (!unsure_since_ || unsure_version_ != file.version) {
            unsure_version_ = file.version;
            unsure_since_ = now;
        }
        const auto news = follower_.update(file, now - *unsure_since_ >= short_pause);
        if (!news.unsure) {
            unsure_since_.reset();
        }
        if (news.missed) {
            rep_.note("some status records were missed");
        }
        return std::all_of(news.records.begin(), news.records.end(),
                           [&](const status_record& record) {
                               return rep_.event(to_line(record), to_json(record));
                           });
    }

    bool draw(const file_snapshot& file) {
        if (is_drawn_ && file.version == drawn_.version && file.exists == drawn_.exists &&
            file.text == drawn_.text && file.error == drawn_.error) {
            return true;
        }
        is_drawn_ = true;
        drawn_ = file;
        rep_.clear_screen();
        if (file.error.empty()) {
            show_status(file, rep_);
        } else {
            rep_.line(file.error);
        }
        return rep_.flush();
    }

    // Prints once why there is nothing to read.
    void note_absence(const file_snapshot& file) {
        const std::string reason = file.exists ? file.error : path_ + " does not exist (yet)";
        if (reason != absence_ && !reason.empty()) {
            rep_.note(reason);
        }
        absence_ = reason;
    }

    std::string path_;
    report& rep_;
    bool on_screen_;
    bool is_drawn_ = false;
    file_snapshot drawn_;
    status_follower follower_;
    file_version unsure_version_;
    std::optional<steady_clock::time_point> unsure_since_;
    std::string absence_;
};

void run_status(const status_options& options, report& rep) {
    if (options.follow) {
        status_watch(file_of(options), rep).run();
    } else {
        show_once(options, rep);
    }
}

}  // namespace

void add_status(command_line& program, invocation& request) {
    auto& command = add_command(
        program, request, "status",
        {.summary = "Show the status of the last batch, and whether a restart is needed",
         .details =
             "The settings service keeps a status file of the batch that is running or ran\n"
             "last: its name, its progress, the commands that failed and why, and the file\n"
             "with the answer. Failed commands are not a failure of dpctl. Also says whether the\n"
             "server must restart before the pending values are current.\n"
             "--follow shows the status until Ctrl-C: on a terminal, the whole status after\n"
             "each change; otherwise each status record on a line, at once. With --follow\n"
             "and --json, each status record is a document on a line of its own.\n",
         .examples = {"dpctl status", "dpctl status --follow"}});
    const auto options = std::make_shared<status_options>();
    command.add_flag("--follow", options->follow, "Continue and show each change");
    add_path_option(command, options->file, "Another status file",
                    dp_service::server_paths::process_status.str());
    command.on_selected([&request, options] {
        request.run = [options](report& rep) { run_status(*options, rep); };
    });
}

}  // namespace dpctl
