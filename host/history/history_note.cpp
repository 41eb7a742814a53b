#include "host/history/history_note.hpp"

#include <array>
#include <cerrno>
#include <cstring>
#include <iomanip>
#include <string_view>
#include <utility>

#include "common/io_loops.hpp"
#include "host/exchange/own_file.hpp"
#include "host/process/service_log.hpp"
#include "support/remove_or_set_aside.hpp"
#include "support/staged_file.hpp"

namespace dp_host {
namespace {

// What tells one text from another: its length and its FNV-1a hash.
class text_digest {
  public:
    void add(std::string_view text) {
        length_ += text.size();
        for (const char c : text) {
            hash_ = (hash_ ^ static_cast<unsigned char>(c)) * 0x100000001B3;
        }
    }
    [[nodiscard]] std::string str() const {
        return text_of(length_, ' ', std::hex, std::setw(16), std::setfill('0'), hash_);
    }

  private:
    std::uint64_t length_ = 0;
    std::uint64_t hash_ = 0xCBF29CE484222325;
};

std::string digest_of(std::string_view text) {
    text_digest digest;
    digest.add(text);
    return digest.str();
}

// Empty when the file can't be read.
std::string digest_of_file(const std::string& path) {
    const own_file file = open_own_file(path);
    text_digest digest;
    std::array<char, 4096> chunk{};
    if (!file.problem.empty()) {
        return {};
    }
    ssize_t count = 0;
    while ((count = dp::read_some(file.descriptor.get(), chunk.data(), chunk.size())) > 0) {
        digest.add({chunk.data(), static_cast<std::size_t>(count)});
    }
    return count == 0 ? digest.str() : std::string();
}

}  // namespace

history_note::history_note(std::string path, std::string values_path, std::uint64_t limit)
    : path_(std::move(path)), values_path_(std::move(values_path)), limit_(limit) {}

void history_note::write(const std::string& staged_path, const std::string& lines) const {
    const std::string values = digest_of_file(staged_path);
    if (values.empty() || values == digest_of_file(values_path_)) {
        return;
    }
    dp_support::staged_file file(path_, dp_support::staged_file::volatile_file);
    file.out() << values << ' ' << digest_of(lines) << '\n' << lines;
    const auto placed = file.complete().and_then([&] { return file.replace(); });
    if (!placed) {
        log_error("a kill would lose lines of the history: ", placed.reason());
    }
}

std::string history_note::lines_in_force() const {
    if (open_own_file(path_).missing) {
        return {};
    }
    std::string problem;
    const std::string text = read_own_file(path_, limit_, problem);
    const std::size_t end = text.find('\n');
    const std::string first = text.substr(0, end);
    std::string lines = end == std::string::npos ? std::string() : text.substr(end + 1);
    const std::string about_lines = ' ' + digest_of(lines);
    if (problem.empty() && (lines.empty() || !first.ends_with(about_lines))) {
        problem = path_ + " holds no changes";
    }
    if (!problem.empty()) {
        log_error("dropped what should be changes for the history: ", problem);
        return {};
    }
    const std::string values = digest_of_file(values_path_);
    if (values.empty() || first != values + about_lines) {
        log_line("dropped the history's lines of changes that were not made");
        return {};
    }
    return lines;
}

void history_note::remove() const {
    if (!dp_support::remove_or_set_aside(path_)) {
        log_error("cannot remove ", path_, ": ", std::strerror(errno));
    }
}

}  // namespace dp_host
