#include "tools/dpctl/output/table.hpp"

#include <algorithm>
#include <ostream>
#include <utility>

#include "tools/dpctl/output/printable_text.hpp"

namespace dpctl {

table::table(std::vector<std::string> headings) : widths_(headings.size()) {
    add(std::move(headings));
}

void table::add(std::vector<std::string> cells) {
    cells.resize(widths_.size());
    for (std::size_t i = 0; i < cells.size(); ++i) {
        cells[i] = printable(cells[i]);
        const std::size_t width = display_width(cells[i]);
        if (width <= widest_column) {
            widths_[i] = std::max(widths_[i], width);
        }
    }
    rows_.push_back(std::move(cells));
}

void table::write(std::ostream& os) const {
    for (const auto& row : rows_) {
        std::size_t missing = 0;  // spaces before the next cell that is not empty
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (!row[i].empty()) {
                os << std::string(missing, ' ') << row[i];
                missing = 0;
            }
            const std::size_t width = display_width(row[i]);
            missing += width < widths_[i] ? widths_[i] - width + 2 : 2;
        }
        os << '\n';
    }
}

}  // namespace dpctl
