#ifndef DP_BATCH_BATCH_LINE_HPP
#define DP_BATCH_BATCH_LINE_HPP

#include <string>
#include <string_view>

namespace dp {

/// Takes words and quoted values off a line from the left, as a string stream on the line would.
///
/// Rules, those of formatted extraction in the "C" locale:
/// - a word is what stands between white space (blank, \t, \v, \f, \r); taking one skips the white
///   space before it and stops in front of what ends it;
/// - a take that needs more than there is takes all of the line: a word that ends with the line, a
///   missing word, a value without its closing quote.
///
/// The line holds no line feed, and one stands directly behind it.
class batch_line {
  public:
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

}  // namespace dp

#endif
