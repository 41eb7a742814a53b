#ifndef DP_TOOLS_DPCTL_OUTPUT_TABLE_HPP
#define DP_TOOLS_DPCTL_OUTPUT_TABLE_HPP

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

namespace dpctl {

/// Rows of text whose columns stand under their headings.
class table {
  public:
    /// A cell wider than this pushes the rest of its row instead of widening every other row.
    static constexpr std::size_t widest_column = 60;

    explicit table(std::vector<std::string> headings);

    /// One cell a column; they are made `printable` here.
    void add(std::vector<std::string> cells);

    /// The headings and the rows, two blanks between columns, none at a line's end.
    void write(std::ostream& os) const;

    [[nodiscard]] std::size_t rows() const { return rows_.size() - 1; }

  private:
    std::vector<std::vector<std::string>> rows_;  // the headings first
    std::vector<std::size_t> widths_;
};

}  // namespace dpctl

#endif
