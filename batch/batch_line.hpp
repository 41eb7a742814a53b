#ifndef DP_BATCH_BATCH_LINE_HPP
#define DP_BATCH_BATCH_LINE_HPP

#include <bit>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

#include "batch/stored_text.hpp"

namespace dp {

namespace batch_bytes {

inline bool is_space(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// As many bytes as the machine takes at a time.
using chunk = std::size_t;

// A chunk that holds `byte` in every place.
constexpr chunk filled(unsigned char byte) {
    return ~chunk{0} / 0xFFU * byte;
}

// The first blank or control character from `at` on. There must be one, with
// `batch_line::padding` readable bytes from it on.
inline const char* find_blank_or_control(const char* at) {
    if constexpr (std::endian::native == std::endian::little) {
        for (;; at += sizeof(chunk)) {
            chunk bytes = 0;
            std::memcpy(&bytes, at, sizeof bytes);
            // Sets the highest bit of every byte up to ' '. It may set it in further bytes behind
            // the first of them, into which the subtraction borrowed.
            const chunk found = (bytes - filled(' ' + 1)) & ~bytes & filled(0x80);
            if (found != 0) {
                return at + std::countr_zero(found) / 8;
            }
        }
    } else {
        while (static_cast<unsigned char>(*at) > ' ') {
            ++at;
        }
        return at;
    }
}

// The white space that ends the word at `at`.
inline const char* find_space(const char* at) {
    at = find_blank_or_control(at);
    while (*at != ' ' && !is_space(*at)) {
        at = find_blank_or_control(at + 1);
    }
    return at;
}

}  // namespace batch_bytes

/// Takes words and quoted values off a line from the left, as a string stream on the line would.
///
/// Rules, those of formatted extraction in the "C" locale:
/// - a word is what stands between white space (blank, \t, \v, \f, \r); taking one skips the white
///   space before it and stops in front of what ends it;
/// - a take that needs more than there is takes all of the line: a word that ends with the line, a
///   missing word, a value without its closing quote.
///
/// The line is scanned several bytes at a time. So it holds no line feed, one stands directly
/// behind it, and `padding` bytes from there on can be read; what the others hold does not matter.
class batch_line {
  public:
    static constexpr std::size_t padding = sizeof(std::size_t);

    /// `text` stays the caller's.
    explicit batch_line(std::string_view text) : at_(text.data()), last_(at_ + text.size()) {}

    /// Takes the next word: a part of the text, empty when there is none.
    std::string_view take_word();

    /// Stores the next word. When there is none `word` keeps its text.
    void take_word(std::string& word);

    /// Stores the next quoted value, by the rules of `parse_quoted_escaped_str`. When there is none
    /// `value` becomes empty.
    void take_value(std::string& value);

    /// Whether all of the line was taken.
    [[nodiscard]] bool empty() const { return at_ == last_; }

  private:
    const char* at_;
    const char* last_;
};

inline std::string_view batch_line::take_word() {
    // Mostly it is one blank.
    const char* first = *at_ == ' ' ? at_ + 1 : at_;
    while (first != last_ && batch_bytes::is_space(*first)) {
        ++first;
    }
    at_ = batch_bytes::find_space(first);
    return {first, static_cast<std::size_t>(at_ - first)};
}

inline void batch_line::take_word(std::string& word) {
    const std::string_view next = take_word();
    if (!next.empty()) {
        store_text(word, next);
    }
}

}  // namespace dp

#endif
