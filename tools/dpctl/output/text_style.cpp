#include "tools/dpctl/output/text_style.hpp"

#include <algorithm>

#include "tools/dpctl/output/printable_text.hpp"

namespace dpctl {
namespace {

constexpr std::string_view sequence_start = "\x1b[";
constexpr std::string_view plain_again = "\x1b[0m";

std::string_view sequence_of(text_style style) {
    switch (style) {
        case text_style::heading:
            return "\x1b[1m";
        case text_style::changed:
            return "\x1b[33m";
        case text_style::faint:
            return "\x1b[2m";
        case text_style::plain:
            break;
    }
    return {};
}

// The columns of a line, whose control sequences take none.
std::size_t columns_of(std::string_view line) {
    std::size_t columns = 0;
    while (!line.empty()) {
        const std::size_t start = line.find(sequence_start);
        columns += display_width(line.substr(0, start));
        const std::size_t end = start == std::string_view::npos ? start : line.find('m', start);
        line.remove_prefix(end == std::string_view::npos ? line.size() : end + 1);
    }
    return columns;
}

}  // namespace

std::string styled(std::string_view text, text_style style, bool has_colours) {
    std::string result;
    const bool is_plain = !has_colours || style == text_style::plain || text.empty();
    result += is_plain ? std::string_view() : sequence_of(style);
    result += text;
    result += is_plain ? std::string_view() : plain_again;
    return result;
}

std::size_t rows_on_screen(std::string_view text, std::size_t columns) {
    std::size_t rows = 0;
    while (!text.empty()) {
        const std::size_t newline = text.find('\n');
        const std::size_t width = columns_of(text.substr(0, newline));
        rows += std::max<std::size_t>(1, (width + columns - 1) / columns);
        text.remove_prefix(newline == std::string_view::npos ? text.size() : newline + 1);
    }
    return rows;
}

}  // namespace dpctl
