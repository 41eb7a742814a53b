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

}  // namespace dp

#endif
