#include "bios/category_bitmap.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <optional>
#include <string_view>

#include "common/fixed_paths.hpp"
#include "common/numbers.hpp"

namespace dp {
namespace {

constexpr std::size_t line_buffer_size = 200;

std::string_view without_blanks_around(std::string_view text) {
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
    return BitMap{bit.value, std::string(without_blanks_around(name)),
                  std::string(without_blanks_around(value))};
}

void copy_text(const std::string& from, char (&to)[DP_CATEGORY_TEXT_SIZE]) {
    const std::size_t length = std::min(from.size(), std::size(to) - 1);
    std::fill(std::copy_n(from.begin(), length, std::begin(to)), std::end(to), '\0');
}

}  // namespace

category_bitMap::category_bitMap() : file_name(fixed_paths::event_categories.str()) {}

void category_bitMap::extractBitMap() {
    std::ifstream in(file_name, std::ios::binary);
    std::array<char, line_buffer_size> buffer{};
    // A line that does not fit the buffer fails the stream.
    while (in.getline(buffer.data(), static_cast<std::streamsize>(buffer.size()))) {
        if (auto entry = parse_line(buffer.data())) {
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
