#ifndef DP_TOOLS_DP_TEMPLATE_CARRIED_TEXT_HPP
#define DP_TOOLS_DP_TEMPLATE_CARRIED_TEXT_HPP

#include <string>
#include <string_view>

// What the formats can carry. A template's text is bytes in which two values end items and records;
// in UTF-8 they stand inside quite ordinary characters ("§", "ç"). A batch line is white-space
// separated words and quoted values. All texts here are UTF-8 or at least bytes; problems are told
// as the end of a sentence, empty when there is none.

namespace dp_tools {

/// Why a name can't stand in batch lines and in a template: "is empty", "holds a blank", ...
std::string name_problem(std::string_view name);

/// Why a value can't stand in a batch line: it holds a control character other than a tab.
std::string value_problem(std::string_view value);

/// Why a text that must keep its bytes can't stand in a template: the reasons of a value, and the
/// two bytes that end items and records.
std::string item_problem(std::string_view text);

/// `text` with every character that a template can't carry replaced by a like one or "?", and
/// control characters by blanks. For descriptions, which nothing compares.
std::string described(std::string_view text);

/// A name for a collection: what remains of `text` without the characters that would trouble a
/// batch line, a template or a shell. May be empty.
std::string collection_name(std::string_view text);

/// `text` between quotes for a message: cut when long, control characters as \x and two digits.
std::string shown(std::string_view text);

}  // namespace dp_tools

#endif
