#ifndef DP_BATCH_STORED_TEXT_HPP
#define DP_BATCH_STORED_TEXT_HPP

#include <string>
#include <string_view>

namespace dp {

/// Makes `text` equal to `next`, which is not a part of it. Cheaper than assigning, which is ready
/// for texts that overlap.
inline void store_text(std::string& text, std::string_view next) {
    text.clear();
    text.append(next);
}

/// The same, without a call when `next` has one to three bytes and `text` as many: for words that
/// rarely change their length from line to line.
inline void store_short_text(std::string& text, std::string_view next) {
    const std::size_t size = next.size();
    if (size != text.size() || size - 1 >= 3) {
        store_text(text, next);
        return;
    }
    text[0] = next[0];
    text[size / 2] = next[size / 2];
    text[size - 1] = next[size - 1];
}

}  // namespace dp

#endif
