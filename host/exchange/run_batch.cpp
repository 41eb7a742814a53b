#include "host/exchange/run_batch.hpp"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <fstream>
#include <istream>
#include <memory>
#include <new>
#include <optional>
#include <ostream>
#include <vector>

#include "batch/batch_file_converter.hpp"
#include "batch/batch_file_intf.hpp"
#include "batch/batch_file_reader.hpp"
#include "common/file_utilities.hpp"
#include "common/quoting.hpp"
#include "host/exchange/batch_transaction.hpp"
#include "host/exchange/malformed_lines.hpp"
#include "host/exchange/status_log.hpp"
#include "host/history/transaction_id.hpp"
#include "host/process/service_log.hpp"
#include "host/process/text_of.hpp"
#include "host/process/trusted_file.hpp"
#include "support/checked_streams.hpp"
#include "transactions/basic_transaction_command.hpp"
#include "transactions/command_status.hpp"

namespace dp_host {
namespace {

template <class Command>
void write_line(Command& command, std::ostream& answer) {
    command.write_terse_output(answer);
    answer << '\n';
}

// Whether readers would read another value than this one.
bool needs_escapes(const std::string& value) {
    return value.find_first_of("\"\\") != std::string::npos;
}

void write_result(dp::transaction_command& command, std::ostream& answer) {
    if (!needs_escapes(command.value_in) && !needs_escapes(command.value_out)) {
        write_line(command, answer);
        return;
    }
    dp::basic_transaction_command escaped;
    escaped.status = command.status;
    escaped.correlator = command.correlator;
    escaped.tid = command.tid;
    escaped.operation = command.operation;
    escaped.name = command.target.get_name();
    escaped.value_in = dp::add_backslash(command.value_in);
    escaped.value_out = dp::add_backslash(command.value_out);
    write_line(escaped, answer);
}

// Commands and malformed lines in the order of the file.
void write_answer(std::vector<dp::transaction_command>& commands, const malformed_lines& malformed,
                  std::ostream& answer) {
    std::size_t position = 0;
    const auto write_until = [&](std::size_t end) {
        for (; position < end; ++position) {
            write_result(commands[position], answer);
        }
    };
    for (auto line : malformed.all()) {
        write_until(line.position);
        write_line(line.answer, answer);
    }
    write_until(commands.size());
}

// Reads the next line, of which it keeps at most `longest_batch_line` bytes. False at the end.
bool next_line(std::istream& text, std::string& line) {
    line.clear();
    std::streambuf& bytes = *text.rdbuf();
    int c = bytes.sbumpc();
    if (c == std::char_traits<char>::eof()) {
        return false;
    }
    for (; c != '\n' && c != std::char_traits<char>::eof(); c = bytes.sbumpc()) {
        if (line.size() < longest_batch_line) {
            line += std::char_traits<char>::to_char_type(c);
        }
    }
    return true;
}

void refuse_all(std::istream& text, std::ostream& answer) {
    std::string line;
    while (next_line(text, line)) {
        const bool is_command = !line.empty() && line.front() != '#' &&
                                line.find_first_not_of(' ') != std::string::npos;
        if (is_command) {
            auto refused = answer_to_line(line, dp::command_status::not_run);
            write_line(refused, answer);
        }
    }
}

// The text after the last newline, of which at most the last `longest_batch_line` bytes are looked
// at; empty when the text ends with a newline. Leaves `text` at its beginning.
std::string unfinished_line(std::istream& text) {
    text.seekg(0, std::ios::end);
    const auto size = static_cast<std::uint64_t>(text.tellg());
    const std::uint64_t tail = std::min<std::uint64_t>(size, longest_batch_line);
    text.seekg(static_cast<std::streamoff>(size - tail));
    std::string end(static_cast<std::size_t>(tail), '\0');
    text.read(end.data(), static_cast<std::streamsize>(tail));
    text.clear();
    text.seekg(0);
    return end.substr(end.rfind('\n') + 1);
}

// Whether the reader makes a command of a line.
bool is_command(const std::string& line) {
    struct counter final : dp::batch_file_intf {
        void process_entry(dp::batch_file_entry& /*entry*/, dp::registrar* /*reg*/) override {
            ++count;
        }
        int count = 0;
    } counted;
    dp_support::checked_istringstream text(line);
    dp::batch_file_reader(&counted).read_file(text, nullptr);
    return counted.count > 0;
}

void read_commands(std::istream& text, host_registrar& registrar,
                   dp::batch_file_converter& converter, malformed_lines& malformed) {
    const std::string unfinished = unfinished_line(text);
    converter.read_file_reporting_dropped_lines(text, &registrar, malformed, longest_batch_line);
    if (unfinished.size() < longest_batch_line && is_command(unfinished)) {
        converter.commands.pop_back();
        malformed.on_dropped_line(unfinished);
    }
}

// A batch that was read, and its transaction.
class batch_run {
  public:
    explicit batch_run(const batch_observer& observer) : observer_(observer) {}

    void run(std::istream& text, host_registrar& registrar) {
        read_commands(text, registrar, converter_, malformed_);
        transaction_.emplace(converter_.commands, [this](auto& t) { report_progress(t); });
        transaction_->requester =
            text_of(transaction_->name, ",id=", new_transaction_id(), ',', observer_.client);
        progress_.start(&*transaction_);
        transaction_->queue(registrar);
        registrar.run_queued();
    }

    void answer(std::ostream& out) {
        write_answer(converter_.commands, malformed_, out);
        const std::string file = observer_.on_answered ? observer_.on_answered() : std::string();
        if (!file.empty()) {
            progress_.log_outfile(transaction_->name, file);
        }
        progress_.stop(&*transaction_);

        const auto& status = transaction_->commands.status;
        log_line("batch ", transaction_->requester, ": ", status.total, " commands, ",
                 status.errors, " failed, ", malformed_.all().size(), " malformed lines");
    }

  private:
    void report_progress(batch_transaction& transaction) {
        progress_.add_progress(&transaction);
        if (observer_.on_progress) {
            const auto& status = transaction.commands.status;
            observer_.on_progress(status.completed, status.total);
        }
    }

    const batch_observer& observer_;
    dp::batch_file_converter converter_;
    malformed_lines malformed_{converter_.commands};
    status_log progress_;
    std::optional<batch_transaction> transaction_;
};

}  // namespace

void run_batch_text(std::istream& text, host_registrar& registrar, std::ostream& answer,
                    const batch_observer& observer) {
    auto batch = std::make_unique<batch_run>(observer);
    try {
        batch->run(text, registrar);
    } catch (const std::bad_alloc&) {
        // The commands' memory is needed for the answer.
        batch.reset();
        log_error("a batch used up the memory: none of its commands is run");
        text.clear();
        text.seekg(0);
        refuse_all(text, answer);
        return;
    }
    batch->answer(answer);
}

dp_support::result<> run_batch(const std::string& path, host_registrar& registrar,
                               dp_support::staged_file& answer) try {
    const auto file = open_trusted_file(path);
    if (!file) {
        return file.error();
    }
    dp_support::checked_stringstream plain;
    std::ifstream text(path, std::ios::binary);
    const bool is_image = file->size <= largest_batch && isValidEfiFile(path.c_str());
    if (!text || (is_image && !dp::batch_file_reader(nullptr).decompress(path, plain))) {
        return dp_support::failure{"cannot read " + path};
    }
    std::istream& source = is_image ? static_cast<std::istream&>(plain) : text;
    if (file->size > largest_batch ||
        (is_image && static_cast<std::uint64_t>(plain.tellp()) > largest_batch)) {
        log_error(path, " is longer than ", largest_batch, " bytes: none of its commands is run");
        refuse_all(source, answer.out());
        // `answer.replace` returns a failure of this again.
        static_cast<void>(answer.complete());
        return {};
    }
    run_batch_text(source, registrar, answer.out(),
                   {text_of("uid=", file->owner), {}, [&] {
                        return answer.complete().ok() ? answer.path() : std::string();
                    }});
    // Again, for a batch that was refused as a whole.
    static_cast<void>(answer.complete());
    return {};
} catch (const std::bad_alloc&) {
    return dp_support::failure{"memory ran out", ENOMEM};
}

}  // namespace dp_host
