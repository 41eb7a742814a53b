#ifndef DP_SUPPORT_ATTRIBUTE_TEXT_HPP
#define DP_SUPPORT_ATTRIBUTE_TEXT_HPP

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace dp_tools {

/// A template's attribute text, or why there is none.
struct attribute_text {
    std::optional<std::string> text;
    std::string error;
};

/// Expands a template: a compressed image, whatever it holds, or attribute text as it is. Anything
/// else, a cut or corrupt image included, is an error.
attribute_text expand_template(const std::string& bytes);

/// Why `text` is not a sequence of records, as "is ..." or "holds ..."; empty when it is one.
std::string text_problem(std::string_view text);

/// The distinct, non-empty configurations that the records of `text` belong to, in order of first
/// appearance. Records are read as the library reads them: one that is too long ends the reading.
std::vector<std::string> configurations(std::string_view text);

}  // namespace dp_tools

#endif
