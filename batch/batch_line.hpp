#ifndef DP_BATCH_BATCH_LINE_HPP
#define DP_BATCH_BATCH_LINE_HPP

#include <string>
#include <string_view>

namespace dp {

/// Takes words and quoted values off a line from the left, as a string stream on the line would.
///
/// Rules, those of formatted extraction in the "C" locale:
/// - a word is what stands between white space (blank, \t, \n, \v, \f, \r); taking one skips the
///   white space before it and stops in front of what ends it;
/// - the line is at its end once a take ran into it: a word that reaches the end of the line, a
///   missing word, a value without its closing quote. A value whose closing quote is the line's
///   last byte does not run into the end. After the end nothing can be taken.
class batch_line {
  public:
    explicit batch_line(std::string_view text) : at_(text.data()), last_(at_ + text.size()) {}

    /// Stores the next word. When there is none `word` keeps its text.
    void take_word(std::string& word);

    /// Stores the next quoted value, by the rules of `parse_quoted_escaped_str`. When there is none
    /// `value` becomes empty.
    void take_value(std::string& value);

    /// Skips a word, if there is one.
    void skip_word();

    [[nodiscard]] bool at_end() const { return at_end_; }

  private:
    std::string_view next_word();

    const char* at_;
    const char* last_;
    bool at_end_ = false;
};

}  // namespace dp

#endif
