#ifndef DP_SUPPORT_WRAPPED_TEXT_HPP
#define DP_SUPPORT_WRAPPED_TEXT_HPP

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace dp_support {

/// The columns that a text takes.
using text_measure = std::size_t (*)(std::string_view);

/// One column for each character, and for each byte that is not UTF-8.
std::size_t character_columns(std::string_view text);

/// `text` in lines of at most `width` columns, broken at spaces and at its newlines. A word that is
/// wider is a line of its own. At least one line, which may be empty.
std::vector<std::string> wrapped_lines(std::string_view text, std::size_t width,
                                       text_measure measure = character_columns);

/// `text`, whose lines have their newlines, with its paragraphs wrapped again. A paragraph is
/// several lines without indentation; indented and empty lines are not changed.
std::string wrapped_paragraphs(std::string_view text, std::size_t width);

}  // namespace dp_support

#endif
