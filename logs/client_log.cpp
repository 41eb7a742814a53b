#include "logs/client_log.hpp"

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <ios>
#include <iterator>
#include <limits>
#include <ostream>
#include <utility>

#include "common/log.hpp"
#include "platform/ds_file/ds_file.hpp"
#include "transactions/setting_transaction.hpp"

namespace dp {
namespace {

constexpr int store_tries = 2;

constexpr std::int32_t greatest_size = std::numeric_limits<std::int32_t>::max();

// Bytes that a line takes in the file.
std::int32_t size_of(const std::string& line) {
    constexpr auto greatest = static_cast<std::size_t>(greatest_size) - 1;
    return static_cast<std::int32_t>(std::min(line.size(), greatest)) + 1;
}

}  // namespace

client_log::client_log(std::string file_name, bool use_ds_file)
    : file_name_(std::move(file_name)), use_ds_file_(use_ds_file) {}

client_log::~client_log() = default;

void client_log::start(setting_transaction* t) {
    write_line("<" + t->name + "> start");
}

void client_log::add_progress(setting_transaction* t) {
    if (t->step != 0) {
        write_line("<" + t->name + ">" + std::to_string(t->progress++));
    }
}

void client_log::stop(setting_transaction* t) {
    t->commands.update_status();
    const auto& status = t->commands.status;
    // Readers of these lines expect exactly this irregular spacing.
    write_line("<" + t->name + ">stop " + (status.errors != 0 ? "1 " : "0 ") +
               std::to_string(status.total - status.errors) + " " + std::to_string(status.errors));
}

void client_log::write_line(const std::string& line) {
    const std::int32_t size = size_of(line);
    lines_.emplace_back(line.c_str());
    total_ = size > greatest_size - total_ ? greatest_size : total_ + size;
    prune_before(std::prev(lines_.end()), size);
    if (use_ds_file_) {
        write_dsfile();
    } else {
        write_file();
    }
}

void client_log::prune() {
    prune_before(lines_.end(), 0);
}

void client_log::prune_before(line_list::const_iterator kept, std::int32_t kept_size) {
    if (total_ <= upper_limit_) {
        return;
    }
    while (total_ >= lower_limit_ && lines_.begin() != kept) {
        total_ -= size_of(lines_.front());
        lines_.pop_front();
    }
    // The bytes that removed lines counted after their first NUL remain in the total until no older
    // line is left.
    if (lines_.begin() == kept) {
        total_ = kept_size;
    }
}

int client_log::write_file() {
    std::ofstream out(file_name_, std::ios::binary | std::ios::trunc);
    if (out) {
        for (const std::string& line : lines_) {
            out << line << '\n' << std::flush;
        }
    }
    return 0;
}

int client_log::write_dsfile() {
    std::size_t size = 0;
    for (const std::string& line : lines_) {
        size += line.size() + 1;
    }
    if (size == 0) {
        return 0;
    }
    std::string text;
    text.reserve(size);
    for (const std::string& line : lines_) {
        text += line;
        text += '\n';
    }

    ds_file store;
    int result = 0;
    for (int i = 0; i < store_tries && result <= 0; ++i) {
        result = store.dsOpenFile(file_name_, ds_file::mode_replace, text.size());
    }
    if (result > 0) {
        result = store.dsWriteFile(text.data(), text.size());
        store.dsReleaseFile();
    }
    if (result < 0) {
        log_line(log_level::trace_1, "LOG",
                 "add_entry: could not add entry to log file - rc = ", result);
    }
    return result;
}

}  // namespace dp
