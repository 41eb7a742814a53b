#ifndef DP_BATCH_STORED_TEXT_HPP
#define DP_BATCH_STORED_TEXT_HPP

#include <string>
#include <string_view>

namespace dp {

/// Makes `text` equal to `next`, which is not a part of it. From line to line most words of a batch
/// file keep their length, and then copying the bytes is enough.
inline void store_text(std::string& text, std::string_view next) {
    if (text.size() == 1 && next.size() == 1) {
        text.front() = next.front();
    } else if (text.size() == next.size()) {
        next.copy(text.data(), next.size());
    } else {
        text.assign(next);
    }
}

}  // namespace dp

#endif
