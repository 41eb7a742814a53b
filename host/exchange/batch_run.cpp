#include "host/exchange/batch_run.hpp"

#include <cstddef>
#include <fstream>
#include <istream>
#include <ostream>
#include <sstream>
#include <utility>

#include "batch/batch_file_converter.hpp"
#include "common/file_utilities.hpp"
#include "common/quoting.hpp"
#include "host/exchange/batch_feed.hpp"
#include "host/exchange/batch_transaction.hpp"
#include "host/exchange/own_file.hpp"
#include "host/exchange/status_log.hpp"
#include "host/process/service_log.hpp"
#include "settings/setting_instance.hpp"
#include "transactions/basic_transaction_command.hpp"
#include "transactions/command_status.hpp"

namespace dp_host {
namespace {

void write_line(dp::basic_transaction_command& command, std::ostream& answer) {
    command.write_terse_output(answer);
    answer << '\n';
}

bool has_quote(const std::string& value) {
    return value.find('"') != std::string::npos;
}

void write_line(dp::transaction_command& command, std::ostream& answer) {
    if (has_quote(command.value_in) || has_quote(command.value_out)) {
        dp::basic_transaction_command escaped;
        escaped.status = command.status;
        escaped.correlator = command.correlator;
        escaped.tid = command.tid;
        escaped.operation = command.operation;
        escaped.name = command.target.get_name();
        escaped.value_in = dp::add_backslash(command.value_in);
        escaped.value_out = dp::add_backslash(command.value_out);
        write_line(escaped, answer);
        return;
    }
    command.write_terse_output(answer);
    answer << '\n';
}

// Commands in their order, and the lines between them that are none.
void write_answers(std::vector<dp::transaction_command>& commands, const batch_feed& feed,
                   std::ostream& answer) {
    std::size_t position = 0;
    const auto write_until = [&](std::size_t end) {
        for (; position < end; ++position) {
            write_line(commands[position], answer);
        }
    };
    for (auto dropped : feed.dropped()) {
        write_until(dropped.position);
        write_line(dropped.answer, answer);
    }
    write_until(commands.size());
}

void refuse_all(std::istream& text, std::ostream& answer) {
    std::string line;
    for (line_kind kind = next_line(text, line); kind != line_kind::end;
         kind = next_line(text, line)) {
        if (kind != line_kind::no_command) {
            auto refused = answer_to_line(line, dp::command_status::not_run);
            write_line(refused, answer);
        }
    }
}

void run_text(std::istream& text, host_registrar& registrar, dp_support::staged_file& answer) {
    dp::batch_file_converter converter;
    batch_feed feed(text, [&converter] { return converter.commands.size(); });
    std::istream lines(&feed);
    converter.read_file(lines, &registrar);

    status_log progress;
    batch_transaction transaction(converter.commands,
                                  [&progress](auto& t) { progress.add_progress(&t); });
    progress.start(&transaction);
    transaction.queue(registrar);
    registrar.run_queued();
    write_answers(converter.commands, feed, answer.out());
    if (answer.complete().ok()) {
        progress.log_outfile(transaction.name, answer.path());
    }
    progress.stop(&transaction);

    const auto& status = transaction.commands.status;
    log_line("batch ", transaction.requester, ": ", status.total, " commands, ", status.errors,
             " failed, ", feed.dropped().size(), " lines that are no commands");
}

}  // namespace

std::string run_batch(const std::string& path, host_registrar& registrar,
                      dp_support::staged_file& answer) {
    const own_file file = open_own_file(path);
    if (!file.problem.empty()) {
        return file.problem;
    }
    std::stringstream plain;
    std::ifstream text(path, std::ios::binary);
    const bool is_image = file.size <= largest_batch && isValidEfiFile(path.c_str());
    if (!text || (is_image && !dp::batch_file_reader(nullptr).decompress(path, plain))) {
        return "cannot read " + path;
    }
    std::istream& source = is_image ? static_cast<std::istream&>(plain) : text;
    if (file.size > largest_batch ||
        (is_image && static_cast<std::uint64_t>(plain.tellp()) > largest_batch)) {
        log_error(path, " is longer than ", largest_batch, " bytes: none of it is run");
        refuse_all(source, answer.out());
        static_cast<void>(answer.complete());
        return {};
    }
    run_text(source, registrar, answer);
    return {};
}

}  // namespace dp_host
