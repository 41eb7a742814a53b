#include "logs/process_log.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <sstream>

#include "common/fixed_paths.hpp"
#include "common/io_loops.hpp"
#include "common/log.hpp"
#include "common/open_regular_file.hpp"
#include "logs/change_history_visitor.hpp"
#include "logs/error_command_visitor.hpp"
#include "transactions/setting_transaction.hpp"

namespace dp {
namespace {

constexpr std::size_t chunk_size = 65536;

// Every user may write to the folder of temporary files, so anything may have the scratch file's
// name: never follows a symlink, never waits for the other end of a pipe, and never writes into a
// file of another user or one that has another name too. -1 when there is no file to append to.
int open_scratch_file(const std::string& path) {
    const int file = open_regular_file(path, O_WRONLY | O_CREAT | O_APPEND | O_NOFOLLOW);
    struct stat info {};
    if (file >= 0 &&
        (::fstat(file, &info) != 0 || info.st_uid != ::geteuid() || info.st_nlink != 1)) {
        ::close(file);
        return -1;
    }
    return file;
}

// Closes a descriptor at the end of a scope, also when memory ran out in it.
class scoped_descriptor {
  public:
    explicit scoped_descriptor(int descriptor) : descriptor_(descriptor) {}
    ~scoped_descriptor() {
        if (descriptor_ >= 0) {
            ::close(descriptor_);
        }
    }
    scoped_descriptor(const scoped_descriptor&) = delete;
    scoped_descriptor& operator=(const scoped_descriptor&) = delete;

    [[nodiscard]] int get() const { return descriptor_; }

  private:
    int descriptor_;
};

// Text that cannot be written is silently dropped: the file is removed soon anyway.
void move_to_file(std::ostringstream& text, int file) {
    write_all(file, text.view());
    text.str({});
}

}  // namespace

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
    if (const scoped_descriptor file(open_scratch_file(path)); file.get() >= 0) {
        std::ostringstream history;
        const change_history_visitor add_to_history(history);
        for (transaction_command* command : t.commands) {
            add_to_history(command);
            if (history.view().size() >= chunk_size) {
                move_to_file(history, file.get());
            }
        }
        move_to_file(history, file.get());
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
