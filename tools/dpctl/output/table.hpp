#ifndef DP_TOOLS_DPCTL_OUTPUT_TABLE_HPP
#define DP_TOOLS_DPCTL_OUTPUT_TABLE_HPP

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

namespace dpctl {

/// Rows of text in columns, with headings.
class table {
  public:
    /// A wider cell shifts the rest of its row to the right instead of widening the column.
    static constexpr std::size_t widest_column = 60;

    explicit table(std::vector<std::string> headings);

    /// Adds a row, one cell for each column. Cells are made `printable`.
    void add(std::vector<std::string> cells);

    /// Writes the headings and the rows, with two spaces between columns and none at the end of a
    /// line.
    void write(std::ostream& os) const;

    [[nodiscard]] std::size_t rows() const { return rows_.size() - 1; }

  private:
    std::vector<std::vector<std::string>> rows_;  // the headings first
    std::vector<std::size_t> widths_;
};

}  // namespace dpctl

#endif
