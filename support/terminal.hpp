#ifndef DP_SUPPORT_TERMINAL_HPP
#define DP_SUPPORT_TERMINAL_HPP

#include <cstddef>

namespace dp_support {

/// The terminal that output goes to, if it goes to one.
struct terminal {
    std::size_t columns = 0;  ///< 0: no terminal, lines have any length
    std::size_t rows = 0;
    bool has_colours = false;

    [[nodiscard]] bool is_there() const { return columns != 0; }
};

/// The terminal of an open descriptor. A terminal that does not know its size has that of $COLUMNS
/// and $LINES, otherwise 80 columns and 24 rows. It has no colours when $NO_COLOR is not empty, and
/// when $TERM is "dumb" or not set.
terminal terminal_of(int descriptor);

}  // namespace dp_support

#endif
