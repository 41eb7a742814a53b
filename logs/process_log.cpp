#include "logs/process_log.hpp"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <ios>

#include "common/fixed_paths.hpp"
#include "common/log.hpp"
#include "logs/change_history_visitor.hpp"
#include "logs/error_command_visitor.hpp"
#include "transactions/setting_transaction.hpp"

namespace dp {

process_log::process_log(const std::string& file_name, bool use_ds_file)
    : client_log(file_name, use_ds_file) {
    log_message("dp-status", "init", "");
}

process_log::~process_log() = default;

void process_log::start(setting_transaction* t) {
    log_working(t->name, t->progress);
    ++t->progress;
}

void process_log::add_progress(setting_transaction* t) {
    if (t->step != 0) {
        log_working(t->name, t->progress);
        ++t->progress;
    }
}

void process_log::stop(setting_transaction* t) {
    const std::string name = t->name;
    t->commands.update_status();
    const auto errors = static_cast<int>(t->commands.status.errors);
    const auto total = static_cast<int>(t->commands.status.total);
    if (errors != 0) {
        const error_command_visitor report(*this, name);
        for (transaction_command* command : t->commands) {
            report(command);
        }
        log_done(name, 1, total - errors, errors);
    } else {
        write_change_history(*t);
        log_done(name, 0, total, 0);
    }
}

void process_log::write_change_history(const setting_transaction& t) {
    const std::string path = fixed_paths::change_history.str();
    std::ofstream history(path, std::ios::binary | std::ios::app);
    if (history) {
        const change_history_visitor write(history);
        for (transaction_command* command : t.commands) {
            write(command);
        }
        history.close();
    } else {
        log_error_line("Open ", path, " failed");
    }
    if (std::remove(path.c_str()) != 0 && errno != ENOENT) {
        const int error = errno;
        log_line(log_level::trace_4, "LOG", "remove file: ", path, " failed, errno= ", error);
    }
}

void process_log::add_entry(const std::string& name, const std::string& body) {
    ++sequence_;
    std::array<char, 5> number{};
    std::snprintf(number.data(), number.size(), "%04x", sequence_ & 0xFFFFU);
    std::string line;
    line.reserve(name.size() + body.size() + 8);
    line += '<';
    line += name;
    line += "> ";
    line += number.data();
    line += ' ';
    line += body;
    log_line(log_level::trace_4, "LOG", "add_entry: ", line);
    write_line(line);
}

void process_log::log_working(const std::string& name, int value) {
    add_entry(name, "DP.WORKING " + std::to_string(value));
}

void process_log::log_message(const std::string& name, const std::string& a, const std::string& b) {
    add_entry(name, "DP.MESSAGE " + a + " " + b);
}

void process_log::log_error(const std::string& name, const std::string& message, int code) {
    add_entry(name, "DP.ERROR " + message + " " + std::to_string(code));
}

void process_log::log_done(const std::string& name, int failed, int succeeded, int errors) {
    add_entry(name, "DP.DONE " + std::to_string(failed) + " " + std::to_string(succeeded) + " " +
                        std::to_string(errors));
}

void process_log::log_outfile(const std::string& name, const std::string& file) {
    add_entry(name, "DP.OUTFILE " + file);
}

}  // namespace dp
