#ifndef DP_TOOLS_DP_TEMPLATE_ENCODABLE_TEXT_HPP
#define DP_TOOLS_DP_TEMPLATE_ENCODABLE_TEXT_HPP

#include <string>
#include <string_view>

// Which texts can be encoded in templates and batch lines. In a template, two byte values end items
// and template records; UTF-8 has them within common characters ("§", "ç"). A batch line consists
// of words, separated by white space, and of quoted values. Texts should be UTF-8, but may be any
// bytes. A problem is the end of a sentence about the text; it is empty if there is none.

namespace dp_tools {

/// Why a name cannot be encoded in batch lines and in a template: "is empty", "contains a space",
/// ...
std::string name_problem(std::string_view name);

/// Why a value cannot be encoded in a batch line: a control character other than a tab.
std::string value_problem(std::string_view value);

/// Why a text cannot be encoded unchanged in a template: a control character other than a tab, or
/// one of the two bytes that end items and template records.
std::string item_problem(std::string_view text);

/// `text` with each character that a template cannot encode replaced by a similar one or "?", and
/// control characters by spaces. For descriptions, which are never compared.
std::string encodable_description(std::string_view text);

/// A name for a collection: `text` without the characters that would cause trouble in a batch line,
/// a template or a shell. May be empty.
std::string collection_name(std::string_view text);

/// `text` between quotes for a message: cut if it is long, control characters as \x and two digits.
std::string quoted_for_message(std::string_view text);

}  // namespace dp_tools

#endif
