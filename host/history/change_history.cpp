#include "host/history/change_history.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "common/io_loops.hpp"
#include "host/history/history_time.hpp"
#include "host/process/service_log.hpp"
#include "host/process/text_of.hpp"
#include "host/process/trusted_file.hpp"
#include "host/process/wall_clock.hpp"
#include "service_api/change_record.hpp"
#include "support/decimal.hpp"
#include "support/file_descriptor.hpp"
#include "support/staged_file.hpp"

namespace dp_host {
namespace {

using dp_service::change_record;

// The line with the number of dropped records is shorter, in bytes.
constexpr std::size_t longest_line_of_history = 256;

// The `most` bytes of the file from `begin` on; fewer when they cannot be read.
std::string bytes_from(int fd, off_t begin, std::size_t most) {
    std::string text(most, '\0');
    std::size_t count = 0;
    while (count < text.size()) {
        const ssize_t got =
            pread(fd, text.data() + count, text.size() - count, begin + static_cast<off_t>(count));
        if (got > 0) {
            count += static_cast<std::size_t>(got);
        } else if (got == 0 || errno != EINTR) {
            break;
        }
    }
    text.resize(count);
    return text;
}

// The last `most` bytes of the file's first `size` bytes; fewer when they cannot be read.
std::string last_bytes(int fd, off_t size, std::size_t most) {
    const auto whole = static_cast<std::uint64_t>(size);
    const std::size_t count = whole > most ? most : static_cast<std::size_t>(whole);
    return bytes_from(fd, size - static_cast<off_t>(count), count);
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

std::uint64_t count_lines(const std::string& text) {
    return static_cast<std::uint64_t>(std::count(text.begin(), text.end(), '\n'));
}

// The number of lines in the file's first `size` bytes. Of a much larger file than the service
// writes only the last lines are counted, so that it costs nothing.
std::uint64_t count_lines(int fd, off_t size) {
    constexpr std::size_t buffer_size = std::size_t{64} * 1024;
    constexpr off_t most_counted = off_t{1} << 20;
    std::uint64_t count = 0;
    for (off_t at = std::max<off_t>(size - most_counted, 0); at < size;) {
        const std::string part =
            bytes_from(fd, at,
                       static_cast<std::size_t>(std::min<std::uint64_t>(
                           static_cast<std::uint64_t>(size - at), buffer_size)));
        if (part.empty()) {
            break;
        }
        count += count_lines(part);
        at += static_cast<off_t>(part.size());
    }
    return count;
}

// The number of records that were dropped earlier, if `line` says so.
std::optional<std::uint64_t> dropped_by(const std::string& line) {
    const auto record = change_record::parse(line);
    if (!record || record->who != change_record::by_service ||
        record->target != change_record::of_history || !record->value) {
        return std::nullopt;
    }
    return dp_support::decimal::parse<std::uint64_t>(
        record->value->substr(0, record->value->find(' ')));
}

std::string first_line(const std::string& text) {
    return text.substr(0, text.find('\n'));
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
    if (present.ends_with(lines)) {
        return {};
    }
    // A file that they made too large was replaced by one with the newest lines.
    const std::string text = last_bytes(fd, size, limit_);
    const std::size_t records = text.find('\n') + 1;
    if (dropped_by(first_line(text)) && text.size() > records &&
        lines.ends_with(std::string_view(text).substr(records))) {
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

// Starts with the last change, so that no more lines are made than fit into the file.
std::string change_history::lines_of(const std::string& who,
                                     const std::vector<value_change>& changes) const {
    change_record record{who, history_time(wall_clock()), {}, {}};
    std::vector<std::string> kept;
    std::size_t size = 0;
    for (auto change = changes.rbegin(); change != changes.rend() && size <= limit_; ++change) {
        record.target = change->name;
        record.value = change->after;
        record.before = change->before;
        record.cause = change->cause;
        kept.push_back(record.line() + '\n');
        size += kept.back().size();
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
             S_IRUSR | S_IWUSR | S_IRGRP));
    struct stat info {};
    if (!file.is_open() || fstat(file.get(), &info) != 0) {
        return dp_support::system_failure("open", path_, errno);
    }
    const off_t size = size_of_complete_lines(file.get(), info.st_size, limit_);
    if (size != info.st_size && ftruncate(file.get(), size) != 0) {
        return dp_support::system_failure("truncate", path_, errno);
    }
    if (static_cast<std::uint64_t>(size) + lines.size() > limit_) {
        const std::string first = first_line(bytes_from(file.get(), 0, longest_line_of_history));
        const auto dropped = dropped_by(first);
        const std::uint64_t count = count_lines(file.get(), size) + count_lines(lines);
        // The line with the number is no record.
        return replace_with(last_bytes(file.get(), size, kept_ + 1) + lines,
                            dropped ? *dropped + count - 1 : count);
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

// `count` is the number of all records so far, dropped ones and those of `lines` included.
dp_support::result<> change_history::replace_with(const std::string& lines,
                                                  std::uint64_t count) const {
    const auto line_for = [](std::uint64_t dropped) {
        return change_record{change_record::by_service, history_time(wall_clock()),
                             change_record::of_history,
                             text_of(dropped, " older records were dropped")}
                   .line() +
               '\n';
    };
    const std::size_t reserved = line_for(count).size();
    std::string kept = newest_lines(lines, kept_ - std::min(kept_, reserved));
    if (dropped_by(first_line(kept))) {
        kept.erase(0, kept.find('\n') + 1);
    }
    dp_support::staged_file file(path_, dp_support::staged_file::durable);
    file.out() << line_for(count - count_lines(kept)) << kept;
    return file.complete().and_then([&] { return file.replace(); });
}

}  // namespace dp_host
