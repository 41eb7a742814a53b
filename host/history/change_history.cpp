#include "host/history/change_history.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <string_view>
#include <utility>
#include <vector>

#include "common/io_loops.hpp"
#include "host/exchange/own_file.hpp"
#include "host/history/change_recorder.hpp"
#include "host/process/service_log.hpp"
#include "support/file_descriptor.hpp"
#include "support/staged_file.hpp"
#include "transactions/transaction_command.hpp"

namespace dp_host {
namespace {

std::string failure(const char* what, const std::string& path) {
    return text_of("cannot ", what, ' ', path, ": ", std::strerror(errno));
}

// The last `most` bytes of the file's first `size`; less when it can't be read.
std::string end_of(int fd, std::size_t size, std::size_t most) {
    std::string text(std::min(size, most), '\0');
    std::size_t count = 0;
    while (count < text.size()) {
        const ssize_t got = pread(fd, text.data() + count, text.size() - count,
                                  static_cast<off_t>(size - text.size() + count));
        if (got > 0) {
            count += static_cast<std::size_t>(got);
        } else if (got == 0 || errno != EINTR) {
            break;
        }
    }
    text.resize(count);
    return text;
}

// How much of the file is whole lines, as far as `most` bytes at its end tell.
std::size_t whole_lines_of(int fd, std::size_t size, std::size_t most) {
    const std::string text = end_of(fd, size, most);
    const std::size_t last = text.rfind('\n');
    return last == std::string::npos ? size - text.size() : size - text.size() + last + 1;
}

// The newest whole lines of `text`, at most `most` bytes.
std::string newest_lines(const std::string& text, std::size_t most) {
    if (text.size() <= most) {
        return text;
    }
    // A line begins behind the end of another.
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
    if (const std::string problem = append_lines(lines); !problem.empty()) {
        log_error("changes are missing from the history: ", problem);
    }
}

void change_history::complete(const std::string& lines) const {
    append(missing_of(lines));
}

std::string change_history::missing_of(const std::string& lines) const {
    const own_file file = open_own_file(path_);
    if (lines.empty() || !file.problem.empty()) {
        return lines;
    }
    const auto found = static_cast<std::size_t>(file.size);
    const std::size_t size = whole_lines_of(file.descriptor.get(), found, limit_);
    const std::string present = end_of(file.descriptor.get(), size, lines.size());
    // If they were too many, the file was made anew of the newest.
    if (present.ends_with(lines) || present == newest_lines(lines, kept_)) {
        return {};
    }
    // An interrupted write leaves the first of them.
    std::size_t begin = 0;
    while (begin < present.size()) {
        if (lines.starts_with(std::string_view(present).substr(begin))) {
            return lines.substr(present.size() - begin);
        }
        begin = std::min(present.find('\n', begin), present.size() - 1) + 1;
    }
    return lines;
}

// However many commands there are, no more lines are made than the file can take.
std::string change_history::lines_of(const dp::setting_transaction& trans) const {
    const change_recorder record(trans.name, std::time(nullptr));
    std::vector<std::string> kept;
    std::size_t size = 0;
    for (std::size_t left = trans.commands.size(); left > 0; --left) {
        const auto change = record(*trans.commands[left - 1]);
        if (!change) {
            continue;
        }
        std::string line = change->line() + '\n';
        size += line.size();
        kept.push_back(std::move(line));
        if (size > limit_) {
            break;
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

std::string change_history::append_lines(const std::string& lines) const {
    if (std::string problem = problem_with_file(path_); !problem.empty()) {
        return problem;
    }
    const dp_support::file_descriptor file(
        open(path_.c_str(), O_RDWR | O_CREAT | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC,
             S_IRUSR | S_IWUSR));
    struct stat info {};
    if (!file.is_open() || fstat(file.get(), &info) != 0) {
        return failure("open", path_);
    }
    const auto found = static_cast<std::size_t>(info.st_size);
    const std::size_t size = whole_lines_of(file.get(), found, limit_);
    if (size != found && ftruncate(file.get(), static_cast<off_t>(size)) != 0) {
        return failure("shorten", path_);
    }
    if (size + lines.size() > limit_) {
        return replace_by(end_of(file.get(), size, kept_ + 1) + lines);
    }
    if (!dp::write_all(file.get(), lines)) {
        std::string problem = failure("write", path_);
        // If this fails too, the next one finds a line without its end.
        return ftruncate(file.get(), static_cast<off_t>(size)) == 0
                   ? problem
                   : problem + ", and it may end in a part of a line";
    }
    return {};
}

std::string change_history::replace_by(const std::string& lines) const {
    dp_support::staged_file file(path_, dp_support::staged_file::durable);
    file.out() << newest_lines(lines, kept_);
    return file.complete().and_then([&] { return file.replace(); }).reason();
}

}  // namespace dp_host
