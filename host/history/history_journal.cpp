#include "host/history/history_journal.hpp"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

#include "common/io_loops.hpp"
#include "host/process/service_log.hpp"
#include "host/process/trusted_file.hpp"
#include "service_api/fnv1a_64.hpp"
#include "support/remove_or_set_aside.hpp"
#include "support/staged_file.hpp"

namespace dp_host {
namespace {

// Length and 64-bit FNV-1a hash of a text.
class length_and_hash {
  public:
    void add(std::string_view text) {
        length_ += text.size();
        hash_.add(text);
    }
    [[nodiscard]] std::string str() const { return text_of(length_, ' ', hash_.str()); }

  private:
    std::uint64_t length_ = 0;
    dp_service::fnv1a_64 hash_;
};

std::string hash_of(std::string_view text) {
    length_and_hash hash;
    hash.add(text);
    return hash.str();
}

// Empty when the file cannot be read. A file that cannot have `expected` is not read: the result is
// another text.
std::string hash_of_file(const std::string& path, const std::string& expected = {}) {
    const auto file = open_trusted_file(path);
    if (!file) {
        return {};
    }
    std::string length = text_of(file->size, ' ');
    if (!expected.empty() && !expected.starts_with(length)) {
        return length;
    }
    length_and_hash hash;
    std::array<char, 4096> chunk{};
    ssize_t count = 0;
    while ((count = dp::read_some(file->descriptor.get(), chunk.data(), chunk.size())) > 0) {
        hash.add({chunk.data(), static_cast<std::size_t>(count)});
    }
    return count == 0 ? hash.str() : std::string();
}

}  // namespace

history_journal::history_journal(std::string path, std::string values_path, std::size_t limit)
    : path_(std::move(path)), values_path_(std::move(values_path)), limit_(limit) {}

void history_journal::write(const std::string& staged_path, const std::string& lines) const {
    const std::string values = hash_of_file(staged_path);
    if (values.empty() || values == hash_of_file(values_path_, values)) {
        return;
    }
    dp_support::staged_file file(path_, dp_support::staged_file::volatile_file);
    file.out() << values << ' ' << hash_of(lines) << '\n' << lines;
    const auto written = file.complete().and_then([&] { return file.replace(); });
    if (!written) {
        log_error("no journal, so a kill may lose lines of the history: ", written.reason());
    }
}

std::string history_journal::lines_to_replay() const {
    const auto text = read_trusted_file(path_, limit_);
    if (!text) {
        if (text.code() != ENOENT) {
            log_error("dropped the history's journal: ", text.reason());
        }
        return {};
    }
    const std::size_t end = text->find('\n');
    const std::string first = text->substr(0, end);
    std::string lines = end == std::string::npos ? std::string() : text->substr(end + 1);
    const std::string hash_of_lines = ' ' + hash_of(lines);
    if (lines.empty() || !first.ends_with(hash_of_lines)) {
        log_error("dropped the history's journal: ", path_, " is invalid");
        return {};
    }
    const std::string values = hash_of_file(values_path_, first);
    if (values.empty() || first != values + hash_of_lines) {
        log_line("dropped the history's journal: its changes were not made");
        return {};
    }
    return lines;
}

void history_journal::remove() const {
    if (!dp_support::remove_or_set_aside(path_)) {
        log_error("cannot remove ", path_, ": ", std::strerror(errno));
    }
}

}  // namespace dp_host
