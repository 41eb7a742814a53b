#ifndef DP_BATCH_ASSIGN_TEXT_HPP
#define DP_BATCH_ASSIGN_TEXT_HPP

#include <string>
#include <string_view>

namespace dp {

/// Assigns `source`, which must not be a part of `text`. Cheaper than `std::string::assign`, which
/// handles overlapping texts.
inline void assign_text(std::string& text, std::string_view source) {
    text.clear();
    text.append(source);
}

/// The same, but without a function call when both texts have the same size of one to three bytes.
/// For words whose size rarely changes from line to line.
inline void assign_short_text(std::string& text, std::string_view source) {
    const std::size_t size = source.size();
    if (size != text.size() || size - 1 >= 3) {
        assign_text(text, source);
        return;
    }
    text[0] = source[0];
    text[size / 2] = source[size / 2];
    text[size - 1] = source[size - 1];
}

}  // namespace dp

#endif
