#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <ctime>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "service_api/server_paths.hpp"
#include "tools/dpctl/changes/interruption.hpp"
#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/output/local_time.hpp"
#include "tools/dpctl/output/table.hpp"
#include "tools/dpctl/status/folder_watch.hpp"
#include "tools/dpctl/status/status_follower.hpp"
#include "tools/dpctl/status/steady_file.hpp"
#include "tools/dpctl/status/transaction_state.hpp"

namespace dpctl {
namespace {

using std::chrono::steady_clock;

// Files of the format have 8 KiB, and more only with a single endless text.
constexpr std::size_t status_limit = std::size_t{4} << 20;

struct status_options {
    std::string file;
    bool follow = false;
};

std::string file_of(const status_options& options) {
    return options.file.empty() ? dp_service::server_paths::process_status.str() : options.file;
}

// When the file was written, for programs, and for people.
std::string written_at(const file_state& state) {
    return local_time(static_cast<std::time_t>(state.seconds));
}

std::string date_and_clock(const std::string& time) {
    const std::size_t middle = time.find('T');
    constexpr std::size_t clock_length = 8;
    return middle == std::string::npos
               ? "-"
               : time.substr(0, middle) + ' ' + time.substr(middle + 1, clock_length);
}

std::string lines(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " line" : " lines");
}

void item(report& rep, std::string_view label, const std::string& text) {
    constexpr std::size_t label_width = 13;
    const std::size_t missing = label_width - std::min(label_width, label.size());
    rep.line(std::string(label) + std::string(missing, ' ') + text);
}

void show_failures(const transaction_state& state, report& rep) {
    if (!state.failed.empty()) {
        rep.line("");
        table rows({"FAILED", "STATUS", "REASON"});
        for (const auto& one : state.failed) {
            rows.add({one.name, std::to_string(one.status), explain_failure(one)});
        }
        rep.show(rows);
    }
    if (state.untold_failures() > 0) {
        rep.line("The file no longer tells of " + std::to_string(state.untold_failures()) +
                 " more that failed.");
    }
}

void show_transaction(const steady_file& file, const transaction_state& state, report& rep) {
    item(rep, "Transaction", state.name.empty() ? "\"\"" : state.name);
    item(rep, "Progress", describe_progress(state));
    for (const auto& message : state.messages) {
        item(rep, "Message", message);
    }
    if (state.outfile) {
        item(rep, "Answer", *state.outfile);
    }
    item(rep, "Written", date_and_clock(written_at(file.state)));
    show_failures(state, rep);
}

// What is odd about the file.
void show_remarks(const status_records& content, const transaction_state& state, report& rep) {
    if (state.earlier > 0) {
        rep.line("The file also tells of " + std::to_string(state.earlier) +
                 " earlier transaction" + (state.earlier == 1 ? "." : "s."));
    }
    if (state.is_pruned) {
        rep.line("The oldest records were dropped from the file.");
    }
    if (content.foreign_lines > 0) {
        rep.line("Left out: " + lines(content.foreign_lines) + " that " +
                 (content.foreign_lines == 1 ? "is no record." : "are no records."));
    }
    if (content.is_torn) {
        rep.line("Left out: the last line, which is incomplete.");
    }
}

void show_status(const steady_file& file, report& rep) {
    if (!file.exists) {
        rep.line("No transaction has run: " + file.path + " does not exist.");
        return;
    }
    const status_records content = read_records(file.text.value_or(""));
    const transaction_state state = summarize(content.records);
    if (state.is_known) {
        show_transaction(file, state, rep);
    } else if (!content.records.empty()) {
        rep.line("No transaction has begun: " + file.path + " has only its first record.");
    } else {
        rep.line(file.path + (file.text->empty() ? " is empty." : " has no status records."));
    }
    show_remarks(content, state, rep);
}

void fill(const steady_file& file, nlohmann::ordered_json& document) {
    const status_records content = read_records(file.text.value_or(""));
    document["file"] = file.path;
    document["exists"] = file.exists;
    document["written"] = file.exists ? nlohmann::ordered_json(written_at(file.state)) : nullptr;
    document.update(to_json(summarize(content.records)));
    document["foreign_lines"] = content.foreign_lines;
    document["incomplete"] = content.is_torn;
}

void show_once(const status_options& options, report& rep) {
    // Before the first transaction there is none.
    const steady_file file =
        read_steadily(options.file, dp_service::server_paths::process_status.str(), status_limit);
    if (!file.error.empty()) {
        rep.problem(file.error);
        return;
    }
    fill(file, rep.document());
    show_status(file, rep);
}

// Shows the file again and again as it changes.
class status_watch {
  public:
    status_watch(std::string path, report& rep)
        : path_(std::move(path)),
          rep_(rep),
          on_screen_(!rep.as_json() && isatty(STDOUT_FILENO) == 1) {}

    void run() {
        rep_.begin_events();
        interruption stop(STDOUT_FILENO);
        folder_watch folder(path_);
        while (true) {
            const bool is_told = folder.renew();
            if (!look()) {
                return;
            }
            const auto pause = unsure_since_ || !is_told ? short_pause : long_pause;
            if (stop.wait({folder.handle()}, static_cast<int>(pause.count())) ==
                interruption::event::interrupted) {
                return;
            }
        }
    }

  private:
    // A file that stands still that long is not amid its writing. Without a folder to watch, or
    // when a notice is lost, the file is looked at anyway.
    static constexpr std::chrono::milliseconds short_pause{200};
    static constexpr std::chrono::milliseconds long_pause{2000};

    // False when the output was lost.
    bool look() {
        const steady_file file = read_steadily(path_, status_limit);
        if (on_screen_) {
            return draw(file);
        }
        tell_absence(file);
        const auto now = steady_clock::now();
        if (!unsure_since_ || unsure_state_ != file.state) {
            unsure_state_ = file.state;
            unsure_since_ = now;
        }
        const auto news = follower_.look(file, now - *unsure_since_ >= short_pause);
        if (!news.unsure) {
            unsure_since_.reset();
        }
        if (news.missed) {
            rep_.note("some records came and went unseen");
        }
        return std::all_of(news.records.begin(), news.records.end(),
                           [&](const status_record& record) {
                               return rep_.event(to_line(record), to_json(record));
                           });
    }

    bool draw(const steady_file& file) {
        if (is_drawn_ && file.state == drawn_.state && file.exists == drawn_.exists &&
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

    // Says once that there is nothing to read, and why.
    void tell_absence(const steady_file& file) {
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
    steady_file drawn_;
    status_follower follower_;
    file_state unsure_state_;
    std::optional<steady_clock::time_point> unsure_since_;
    std::string absence_;
};

void run(const status_options& options, report& rep) {
    if (options.follow) {
        status_watch(file_of(options), rep).run();
    } else {
        show_once(options, rep);
    }
}

}  // namespace

void add_status(CLI::App& app, job& what) {
    auto& command = add_command(app, what, "status", "Show how the last batch came along",
                                {"dpctl status", "dpctl status --follow"});
    add_help(
        command,
        "The settings service keeps a status file of the batch that runs or ran last: what it\n"
        "is called, how far it has come, which commands failed and why, and where the answer\n"
        "lies. That commands failed is no failure here.\n"
        "--follow shows it until Ctrl-C: on a terminal as a picture that is drawn again with\n"
        "every change, otherwise as a line for every record, as it comes. With --follow and\n"
        "--json every record is a document on a line of its own.\n");
    const auto options = std::make_shared<status_options>();
    command.add_flag("--follow", options->follow, "Go on showing it as it changes");
    add_path_option(command, options->file, "Another status file",
                    dp_service::server_paths::process_status.str());
    command.callback(
        [&what, options] { what.run = [options](report& rep) { run(*options, rep); }; });
}

}  // namespace dpctl
