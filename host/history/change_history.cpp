#include "host/history/change_history.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "common/io_loops.hpp"
#include "host/history/change_recorder.hpp"
#include "host/process/service_log.hpp"
#include "host/process/trusted_file.hpp"
#include "host/process/wall_clock.hpp"
#include "support/file_descriptor.hpp"
#include "support/staged_file.hpp"
#include "transactions/transaction_command.hpp"

namespace dp_host {
namespace {

// The last `most` bytes of the file's first `size` bytes; fewer when they cannot be read.
std::string last_bytes(int fd, off_t size, std::size_t most) {
    const bool is_longer = static_cast<std::uint64_t>(size) > most;
    std::string text(is_longer ? most : static_cast<std::size_t>(size), '\0');
    std::size_t count = 0;
    while (count < text.size()) {
        const ssize_t got = pread(fd, text.data() + count, text.size() - count,
                                  size - static_cast<off_t>(text.size() - count));
        if (got > 0) {
            count += static_cast<std::size_t>(got);
        } else if (got == 0 || errno != EINTR) {
            break;
        }
    }
    text.resize(count);
    return text;
}

// The size of the complete lines of a file of `size` bytes. Looks at its last `most` bytes only.
off_t size_of_complete_lines(int fd, off_t size, std::size_t most) {
    const std::string text = last_bytes(fd, size, most);
    // npos + 1 is 0.
    const std::size_t complete = text.rfind('\n') + 1;
    return size - static_cast<off_t>(text.size() - complete);
}

// The last complete lines of `text`, at most `most` bytes.
std::string newest_lines(const std::string& text, std::size_t most) {
    if (text.size() <= most) {
        return text;
    }
    // A newline just before the last `most` bytes begins a line that fits.
    const std::size_t end = text.find('\n', text.size() - most - 1);
    return end == std::string::npos ? std::string() : text.substr(end + 1);
}

}  // namespace

change_history::change_history(std::string path, std::size_t limit)
    : path_(std::move(path)), limit_(limit), kept_(limit / 4 * 3) {}

void change_history::append(const std::string& lines) const {
    if (lines.empty()) {
        return;
    }
    if (const auto appended = try_append(lines); !appended) {
        log_error("changes are missing from the history: ", appended.reason());
    }
}

void change_history::complete(const std::string& lines) const {
    append(missing_of(lines));
}

std::string change_history::missing_of(const std::string& lines) const {
    const auto file = open_trusted_file(path_);
    if (lines.empty() || !file) {
        return lines;
    }
    const int fd = file->descriptor.get();
    const off_t size = size_of_complete_lines(fd, static_cast<off_t>(file->size), limit_);
    const std::string present = last_bytes(fd, size, lines.size());
    // A file that they made too large was replaced by one with the newest lines.
    if (present.ends_with(lines) || present == newest_lines(lines, kept_)) {
        return {};
    }
    // An interrupted write appended the first lines only.
    std::size_t begin = 0;
    while (begin < present.size()) {
        if (lines.starts_with(std::string_view(present).substr(begin))) {
            return lines.substr(present.size() - begin);
        }
        begin = std::min(present.find('\n', begin), present.size() - 1) + 1;
    }
    return lines;
}

// Starts with the last command, so that no more lines are made than fit into the file.
std::string change_history::lines_of(const dp::setting_transaction& trans) const {
    const change_recorder record(trans.requester.empty() ? trans.name : trans.requester,
                                 wall_clock());
    std::vector<std::string> kept;
    std::size_t size = 0;
    for (std::size_t left = trans.commands.size(); left > 0 && size <= limit_; --left) {
        if (const auto change = record(*trans.commands[left - 1])) {
            kept.push_back(change->line() + '\n');
            size += kept.back().size();
        }
    }
    std::string lines;
    lines.reserve(size);
    std::reverse(kept.begin(), kept.end());
    for (const std::string& line : kept) {
        lines += line;
    }
    return lines;
}

dp_support::result<> change_history::try_append(const std::string& lines) const {
    if (auto checked = check_trusted(path_); !checked) {
        return checked;
    }
    const dp_support::file_descriptor file(
        open(path_.c_str(), O_RDWR | O_CREAT | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC,
             S_IRUSR | S_IWUSR));
    struct stat info {};
    if (!file.is_open() || fstat(file.get(), &info) != 0) {
        return dp_support::system_failure("open", path_, errno);
    }
    const off_t size = size_of_complete_lines(file.get(), info.st_size, limit_);
    if (size != info.st_size && ftruncate(file.get(), size) != 0) {
        return dp_support::system_failure("truncate", path_, errno);
    }
    if (static_cast<std::uint64_t>(size) + lines.size() > limit_) {
        return replace_with(last_bytes(file.get(), size, kept_ + 1) + lines);
    }
    if (!dp::write_all(file.get(), lines)) {
        auto failed = dp_support::system_failure("write", path_, errno);
        // Otherwise the next call removes the incomplete line.
        if (ftruncate(file.get(), size) != 0) {
            failed.reason += "; it may end with an incomplete line";
        }
        return failed;
    }
    return {};
}

dp_support::result<> change_history::replace_with(const std::string& lines) const {
    dp_support::staged_file file(path_, dp_support::staged_file::durable);
    file.out() << newest_lines(lines, kept_);
    return file.complete().and_then([&] { return file.replace(); });
}

}  // namespace dp_host
