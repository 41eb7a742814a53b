#ifndef DP_SUPPORT_LINE_INDEX_HPP
#define DP_SUPPORT_LINE_INDEX_HPP

#include <cstddef>
#include <string_view>
#include <vector>

namespace dp_support {

/// Line and column of a byte, both from 1; columns count bytes.
struct text_position {
    std::size_t line;
    std::size_t column;
};

/// Index of the lines of a text. It does not keep the text.
class line_index {
  public:
    explicit line_index(std::string_view text);

    /// The position of the byte at `offset` in the text.
    [[nodiscard]] text_position position_of(std::size_t offset) const;

  private:
    std::vector<std::size_t> line_starts_;
};

}  // namespace dp_support

#endif
