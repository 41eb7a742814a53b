#include "support/line_index.hpp"

#include <algorithm>

namespace dp_support {

line_index::line_index(std::string_view text) : line_starts_{0} {
    for (auto end = text.find('\n'); end != std::string_view::npos;
         end = text.find('\n', end + 1)) {
        line_starts_.push_back(end + 1);
    }
}

text_position line_index::position_of(std::size_t offset) const {
    const auto next = std::upper_bound(line_starts_.begin(), line_starts_.end(), offset);
    const auto line = static_cast<std::size_t>(next - line_starts_.begin());
    return {line, offset - line_starts_[line - 1] + 1};
}

}  // namespace dp_support
