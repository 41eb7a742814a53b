#ifndef DP_COMMON_WHITE_SPACE_HPP
#define DP_COMMON_WHITE_SPACE_HPP

namespace dp {

/// What a stream skips before a word or a number in the "C" locale.
inline bool is_space(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

}  // namespace dp

#endif
