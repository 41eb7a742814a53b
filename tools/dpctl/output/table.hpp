#ifndef DP_TOOLS_DPCTL_OUTPUT_TABLE_HPP
#define DP_TOOLS_DPCTL_OUTPUT_TABLE_HPP

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/terminal.hpp"
#include "tools/dpctl/output/text_style.hpp"

namespace dpctl {

/// A column of a `table`. On a terminal that is too narrow, texts are shortened, then columns are
/// left out.
struct table_column {
    // NOLINTBEGIN(google-explicit-constructor)
    table_column(const char* text) : heading(text) {}
    // NOLINTEND(google-explicit-constructor)
    table_column(const char* text, std::size_t least_width, bool can_be_left_out = false)
        : heading(text), least(least_width), is_optional(can_be_left_out) {}

    std::string heading;
    std::size_t least = 0;     ///< its texts may be shortened to this width; 0: they may not
    bool is_optional = false;  ///< it may be left out, and is widened last
};

/// A text of a `table` and its look.
struct table_cell {
    // NOLINTBEGIN(google-explicit-constructor)
    table_cell(const char* content) : text(content) {}
    table_cell(std::string content, text_style look = text_style::plain)
        : text(std::move(content)), style(look) {}
    // NOLINTEND(google-explicit-constructor)

    std::string text;
    text_style style = text_style::plain;
};

/// Rows of text in columns, with headings.
class table {
  public:
    /// Without a terminal, a wider cell shifts the rest of its row to the right instead of widening
    /// the column.
    static constexpr std::size_t widest_column = 60;

    explicit table(std::vector<table_column> columns);

    /// Adds a row, one cell for each column. Cells are made `printable`.
    void add(std::vector<table_cell> cells);

    /// Adds a line above the next rows, after an empty line. On a terminal it is wrapped.
    void add_title(std::string_view text);

    /// Writes the headings and the rows, with two spaces between columns and none at the end of a
    /// line. Without a terminal nothing is shortened; on one, a row is broken after a cell that is
    /// wider than its column, and lines fit if no cell that may not be shortened needs the whole
    /// width.
    void write(std::ostream& os, const dp_support::terminal& screen = {}) const;

  private:
    struct row {
        bool is_title = false;
        std::vector<table_cell> cells;
    };
    struct column_layout {
        std::size_t width = 0;
        bool is_shown = true;
    };

    [[nodiscard]] std::vector<column_layout> layout(std::size_t columns) const;
    [[nodiscard]] std::vector<column_layout> natural_layout(std::size_t widest) const;
    void widen(std::vector<column_layout>& columns, std::size_t spare, bool optional_ones) const;
    void write_row(std::ostream& os, const row& content, const std::vector<column_layout>& columns,
                   const dp_support::terminal& screen) const;

    std::vector<table_column> columns_;
    std::vector<row> rows_;  // the headings first
};

}  // namespace dpctl

#endif
