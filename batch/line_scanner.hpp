#ifndef DP_BATCH_LINE_SCANNER_HPP
#define DP_BATCH_LINE_SCANNER_HPP

#include <string>
#include <string_view>

namespace dp {

/// Extracts words and quoted values from a line, from left to right, as from a string stream.
///
/// Rules, those of formatted extraction in the "C" locale:
/// - words are separated by white space (space, \t, \v, \f, \r); extracting a word skips the white
///   space before it and stops before the white space after it;
/// - an extraction that reaches the end of the line consumes all of it: a word that ends with the
///   line, a missing word, a value without its closing quote.
///
/// The line contains no newline, but a newline must follow it in memory.
class line_scanner {
  public:
    /// `text` is not owned and must outlive the scanner.
    explicit line_scanner(std::string_view text) : at_(text.data()), last_(at_ + text.size()) {}

    /// Extracts the next word, a part of the text; empty when there is none.
    std::string_view take_word();

    /// Extracts the next word to `word`, which keeps its text when there is none.
    void take_word(std::string& word);

    /// Extracts the next quoted value to `value`, by the rules of `parse_quoted_escaped_str`.
    /// `value` becomes empty when there is none.
    void take_value(std::string& value);

    /// Whether all of the line was consumed.
    [[nodiscard]] bool empty() const { return at_ == last_; }

  private:
    const char* at_;
    const char* last_;
};

}  // namespace dp

#endif
