#include "tools/dpctl/output/table.hpp"

#include <algorithm>
#include <limits>
#include <ostream>
#include <utility>

#include "support/wrapped_text.hpp"
#include "tools/dpctl/output/printable_text.hpp"

namespace dpctl {
namespace {

constexpr std::size_t gap = 2;

}  // namespace

table::table(std::vector<table_column> columns) : columns_(std::move(columns)) {
    std::vector<table_cell> headings;
    for (const table_column& column : columns_) {
        headings.emplace_back(column.heading, text_style::heading);
    }
    add(std::move(headings));
}

void table::add(std::vector<table_cell> cells) {
    cells.resize(columns_.size(), "");
    for (table_cell& cell : cells) {
        cell.text = printable(cell.text);
    }
    rows_.push_back({false, std::move(cells)});
}

void table::add_title(std::string_view text) {
    rows_.push_back({true, {{printable(text), text_style::heading}}});
}

// The columns as wide as their texts, at most `widest`.
std::vector<table::column_layout> table::natural_layout(std::size_t widest) const {
    std::vector<column_layout> columns(columns_.size());
    for (const row& each : rows_) {
        for (std::size_t i = 0; !each.is_title && i < columns.size(); ++i) {
            const std::size_t width = display_width(each.cells[i].text);
            if (width <= widest) {
                columns[i].width = std::max(columns[i].width, width);
            }
        }
    }
    return columns;
}

// Gives `spare` columns of the terminal to columns that are narrower than their texts, in turn.
void table::widen(std::vector<column_layout>& columns, std::size_t spare,
                  bool optional_ones) const {
    const auto natural = natural_layout(std::numeric_limits<std::size_t>::max());
    for (bool is_done = false; spare > 0 && !is_done;) {
        is_done = true;
        for (std::size_t i = 0; i < columns.size() && spare > 0; ++i) {
            if (columns[i].is_shown && columns_[i].is_optional == optional_ones &&
                columns[i].width < natural[i].width) {
                ++columns[i].width;
                --spare;
                is_done = false;
            }
        }
    }
}

std::vector<table::column_layout> table::layout(std::size_t columns) const {
    auto result = natural_layout(columns == 0 ? widest_column : columns);
    if (columns == 0) {
        return result;
    }
    const auto total = [&result] {
        std::size_t sum = 0;
        bool is_first = true;
        for (const column_layout& each : result) {
            if (each.is_shown) {
                sum += each.width + (std::exchange(is_first, false) ? 0 : gap);
            }
        }
        return sum;
    };
    if (total() <= columns) {
        return result;
    }
    for (std::size_t i = 0; i < result.size(); ++i) {
        if (columns_[i].least != 0) {
            const std::size_t least =
                std::max(columns_[i].least, display_width(columns_[i].heading));
            result[i].width = std::min(result[i].width, least);
        }
    }
    for (std::size_t i = result.size(); i > 0 && total() > columns; --i) {
        result[i - 1].is_shown = !columns_[i - 1].is_optional;
    }
    // The rows that need more of a column that may not be shortened are broken after it.
    for (std::size_t i = 0; i + 1 < result.size() && total() > columns; ++i) {
        if (columns_[i].least == 0) {
            result[i].width -= std::min(total() - columns, result[i].width);
        }
    }
    if (total() > columns) {
        return result;
    }
    widen(result, columns - total(), false);
    widen(result, columns - total(), true);
    return result;
}

void table::write_row(std::ostream& os, const row& content,
                      const std::vector<column_layout>& columns,
                      const dp_support::terminal& screen) const {
    std::size_t missing = 0;  // spaces before the next cell that is not empty
    std::size_t start = 0;    // of the cell on the line
    for (std::size_t i = 0; i < content.cells.size(); ++i) {
        if (!columns[i].is_shown) {
            continue;
        }
        const table_cell& cell = content.cells[i];
        const bool is_cut = screen.is_there() && columns_[i].least != 0;
        const std::string text = is_cut ? shortened(cell.text, columns[i].width) : cell.text;
        if (!text.empty()) {
            os << std::string(missing, ' ') << styled(text, cell.style, screen.has_colours);
            missing = 0;
        }
        const std::size_t width = display_width(text);
        start += columns[i].width + gap;
        if (width <= columns[i].width) {
            missing += columns[i].width - width + gap;
        } else if (screen.is_there() && i + 1 < content.cells.size()) {
            os << '\n';
            missing = start;
        } else {
            missing += gap;
        }
    }
    os << '\n';
}

void table::write(std::ostream& os, const dp_support::terminal& screen) const {
    const auto columns = layout(screen.columns);
    for (const row& each : rows_) {
        if (!each.is_title) {
            write_row(os, each, columns, screen);
            continue;
        }
        const table_cell& title = each.cells.front();
        std::vector<std::string> lines{title.text};
        if (screen.is_there()) {
            lines = dp_support::wrapped_lines(title.text, screen.columns, display_width);
        }
        os << '\n';
        for (const std::string& line : lines) {
            os << styled(line, title.style, screen.has_colours) << '\n';
        }
    }
}

}  // namespace dpctl
