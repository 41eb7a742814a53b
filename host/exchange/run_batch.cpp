#include "host/exchange/run_batch.hpp"

#include <cstddef>
#include <fstream>
#include <istream>
#include <ostream>
#include <sstream>
#include <vector>

#include "batch/batch_file_converter.hpp"
#include "common/file_utilities.hpp"
#include "common/quoting.hpp"
#include "host/exchange/batch_transaction.hpp"
#include "host/exchange/malformed_lines.hpp"
#include "host/exchange/status_log.hpp"
#include "host/process/service_log.hpp"
#include "host/process/trusted_file.hpp"
#include "transactions/basic_transaction_command.hpp"
#include "transactions/command_status.hpp"

namespace dp_host {
namespace {

template <class Command>
void write_line(Command& command, std::ostream& answer) {
    command.write_terse_output(answer);
    answer << '\n';
}

bool has_quote(const std::string& value) {
    return value.find('"') != std::string::npos;
}

void write_result(dp::transaction_command& command, std::ostream& answer) {
    if (!has_quote(command.value_in) && !has_quote(command.value_out)) {
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

void run_text(std::istream& text, host_registrar& registrar, dp_support::staged_file& answer) {
    dp::batch_file_converter converter;
    malformed_lines malformed(converter.commands);
    converter.read_file_reporting_dropped_lines(text, &registrar, malformed, longest_batch_line);

    status_log progress;
    batch_transaction transaction(converter.commands,
                                  [&progress](auto& t) { progress.add_progress(&t); });
    progress.start(&transaction);
    transaction.queue(registrar);
    registrar.run_queued();
    write_answer(converter.commands, malformed, answer.out());
    if (answer.complete().ok()) {
        progress.log_outfile(transaction.name, answer.path());
    }
    progress.stop(&transaction);

    const auto& status = transaction.commands.status;
    log_line("batch ", transaction.requester, ": ", status.total, " commands, ", status.errors,
             " failed, ", malformed.all().size(), " malformed lines");
}

}  // namespace

dp_support::result<> run_batch(const std::string& path, host_registrar& registrar,
                               dp_support::staged_file& answer) {
    const auto file = open_trusted_file(path);
    if (!file) {
        return file.error();
    }
    std::stringstream plain;
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
    run_text(source, registrar, answer);
    return {};
}

}  // namespace dp_host
