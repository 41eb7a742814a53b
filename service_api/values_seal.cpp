#include "service_api/values_seal.hpp"

#include <algorithm>
#include <utility>

#include "batch/batch_file_entry.hpp"
#include "batch/batch_file_intf.hpp"
#include "batch/batch_file_reader.hpp"
#include "service_api/fnv1a_64.hpp"
#include "service_api/plain_size.hpp"
#include "support/checked_streams.hpp"

namespace dp_service::values_seal {
namespace {

constexpr std::string_view mark = "# dp-values ";
constexpr std::string_view begin_mark = "# dp-values begin";
constexpr std::string_view end_mark = "# dp-values end ";

std::string hash_of(std::string_view text) {
    fnv1a_64 hash;
    hash.add(text);
    return hash.str();
}

bool is_value_line(std::string_view line) {
    return !line.empty() && line.front() != '#' &&
           line.find_first_not_of(' ') != std::string_view::npos;
}

bool has_mark(std::string_view text) {
    for (std::size_t at = text.find(mark); at != std::string_view::npos;
         at = text.find(mark, at + 1)) {
        if (at == 0 || text[at - 1] == '\n') {
            return true;
        }
    }
    return false;
}

bool is_name(const std::string& text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return static_cast<unsigned char>(c) > ' ' && c != '\x7F';
    });
}

// Whether the entry of a line is a set command for a name.
class set_line_check final : public dp::batch_file_intf {
  public:
    void process_entry(dp::batch_file_entry& entry, dp::registrar* /*reg*/) override {
        is_set = (entry.operation == "set" || entry.operation == "setv") &&
                 is_name(entry.name.configuration) && is_name(entry.name.setting);
    }

    bool is_set = false;
};

// Each line is read alone: the library's reader lets a line that lacks words keep those of the
// previous one.
bool is_set_line(std::string_view line) {
    if (std::count(line.begin(), line.end(), '"') < 2) {
        return false;
    }
    set_line_check check;
    dp::batch_file_reader reader(&check);
    dp_support::checked_istringstream in{std::string(line)};
    reader.read_file(in, nullptr);
    return check.is_set;
}

examination damaged(std::string problem) {
    return {completeness::damaged, {}, std::move(problem)};
}

examination examine_unsealed(std::string_view text) {
    if (!text.empty() && text.back() != '\n') {
        return damaged("its last line is incomplete");
    }
    std::size_t count = 0;
    std::size_t number = 0;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = text.find('\n', begin);
        const std::string_view line = text.substr(begin, end - begin);
        begin = end + 1;
        ++number;
        if (is_value_line(line)) {
            ++count;
            if (!is_set_line(line)) {
                return damaged("its line " + std::to_string(number) + " is not a set command");
            }
        }
    }
    return count == 0 ? damaged("it contains no values")
                      : examination{completeness::unsealed, hash_of(text), {}};
}

std::size_t count_of_value_lines(std::string_view text) {
    std::size_t count = 0;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        count += is_value_line(text.substr(begin, end - begin)) ? 1U : 0U;
        begin = end + 1;
    }
    return count;
}

}  // namespace

std::string end_line(std::string_view text, std::size_t count) {
    std::string line(end_mark);
    line += std::to_string(count) + ' ' + hash_of(text);
    return line;
}

examination examine(std::string_view text) {
    std::string_view last = text;
    if (last.ends_with('\n')) {
        last.remove_suffix(1);
    }
    // npos + 1 is 0.
    last.remove_prefix(last.rfind('\n') + 1);
    const bool begins = text.starts_with(begin_mark);
    const bool ends = last.starts_with(end_mark);
    if (!begins && !ends && !has_mark(text)) {
        return examine_unsealed(text);
    }
    if (!begins || !ends) {
        return damaged(begins ? "it was cut off" : "its beginning is lost");
    }
    const std::string_view before(text.data(), static_cast<std::size_t>(last.data() - text.data()));
    if (last != end_line(before, count_of_value_lines(before))) {
        return damaged("it does not match the hash in its last line");
    }
    return {completeness::sealed, std::string(last.substr(last.rfind(' ') + 1)), {}};
}

bool is_within_limit(const std::string& path) {
    const auto size = plain_size(path);
    return size && *size <= size_limit;
}

std::optional<std::string> version_of(const std::string& path) {
    dp_support::checked_ostringstream text;
    dp::batch_file_reader reader;
    if (!is_within_limit(path) || !reader.decompress(path, text)) {
        return std::nullopt;
    }
    const examination examined = examine(text.view());
    if (examined.found == completeness::damaged) {
        return std::nullopt;
    }
    return examined.version;
}

}  // namespace dp_service::values_seal
