#ifndef DP_SUPPORT_SUGGESTIONS_HPP
#define DP_SUPPORT_SUGGESTIONS_HPP

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace dp_support {

/// Edit distance of two texts: how many characters are inserted, deleted, replaced or swapped with
/// their neighbour. The case of ASCII letters is ignored. `limit` + 1 for any greater distance.
std::size_t edit_distance(std::string_view a, std::string_view b, std::size_t limit);

/// The positions of at most `count` of `names` that are similar to `text`, the most similar first:
/// names with few typing errors, and names that contain `text` if it has three or more characters.
std::vector<std::size_t> similar_names(std::string_view text,
                                       std::span<const std::string_view> names,
                                       std::size_t count = 3);

/// "A, B or C", with `last_separator` " or ".
std::string enumerate(std::span<const std::string> texts, const char* last_separator);

/// "did you mean A, B or C?"; empty when there are no names.
std::string did_you_mean(std::span<const std::string> names);

}  // namespace dp_support

#endif
