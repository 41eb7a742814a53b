#include "bios/category_bitmap.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <iterator>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "common/fixed_paths.hpp"
#include "common/numbers.hpp"
#include "common/open_regular_file.hpp"

namespace dp {
namespace {

constexpr std::size_t longest_line = 199;

struct file_closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

using input_file = std::unique_ptr<std::FILE, file_closer>;

// Every user may write to the folder of temporary files, so anything may have the table's name:
// never waits for the other end of a pipe and never reads a device. Null when there is no regular
// file.
input_file open_table(const std::string& path) {
    const int descriptor = open_regular_file(path, O_RDONLY);
    if (descriptor < 0) {
        return nullptr;
    }
    input_file file(::fdopen(descriptor, "r"));
    if (file == nullptr) {
        ::close(descriptor);
    }
    return file;
}

// Reads the next line without its newline. False when there is none, it is too long, or the file
// cannot be read.
bool read_line(std::FILE& file, std::string& line) {
    line.clear();
    int c = EOF;
    while ((c = std::getc(&file)) != EOF && c != '\n') {
        if (line.size() == longest_line) {
            return false;
        }
        line += static_cast<char>(c);
    }
    return c == '\n' || (!line.empty() && std::ferror(&file) == 0);
}

std::string_view trim_spaces(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::optional<BitMap> parse_line(std::string_view line) {
    if (line.empty() || line.front() < '0' || line.front() > '9') {
        return std::nullopt;
    }
    const std::size_t equals = line.find('=');
    const std::size_t colons = line.find("::");
    if (equals == std::string_view::npos || colons == std::string_view::npos || colons < equals) {
        return std::nullopt;
    }
    const auto bit = parse_signed(line.substr(0, equals));
    if (!bit.ok) {
        return std::nullopt;
    }
    const auto name = line.substr(equals + 1, colons - equals - 1);
    const auto value = line.substr(colons + 2);
    return BitMap{bit.value, std::string(trim_spaces(name)), std::string(trim_spaces(value))};
}

void copy_text(const std::string& from, char (&to)[DP_CATEGORY_TEXT_SIZE]) {
    const std::size_t length = std::min(from.size(), std::size(to) - 1);
    std::fill(std::copy_n(from.begin(), length, std::begin(to)), std::end(to), '\0');
}

}  // namespace

category_bitMap::category_bitMap() : file_name(fixed_paths::event_categories.str()) {}

void category_bitMap::extractBitMap() {
    const input_file file = open_table(file_name);
    std::string line;
    line.reserve(longest_line);
    while (file != nullptr && read_line(*file, line)) {
        // A line ends at a NUL inside it.
        if (auto entry = parse_line(line.c_str())) {
            entries.push_back(std::move(*entry));
        }
    }
}

void copy_to_entry(const BitMap& from, dp_category_map_entry& to) {
    to.bit = from.bit;
    copy_text(from.name, to.name);
    copy_text(from.value, to.value);
}

}  // namespace dp
