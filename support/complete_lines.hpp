#ifndef DP_SUPPORT_COMPLETE_LINES_HPP
#define DP_SUPPORT_COMPLETE_LINES_HPP

#include <cstddef>
#include <string_view>

namespace dp_support {

/// Calls `take` with each line of `text` that ends with a newline, without the newline. Returns
/// whether an incomplete last line is left.
template <class Take>
bool for_each_complete_line(std::string_view text, Take take) {
    for (std::size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
        take(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    return !text.empty();
}

}  // namespace dp_support

#endif
