#ifndef DP_TOOLS_DPCTL_NAMES_NEAR_NAMES_HPP
#define DP_TOOLS_DPCTL_NAMES_NEAR_NAMES_HPP

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace dpctl {

/// Steps between two texts: characters inserted, removed, replaced or swapped with their
/// neighbour, the case of ASCII letters left aside. `limit` + 1 for any greater distance.
std::size_t edit_distance(std::string_view a, std::string_view b, std::size_t limit);

/// The positions of those `names` that somebody who typed `text` may have meant, the nearest first,
/// at most `count`: with few typing errors, or with `text` as a part of three letters and more.
std::vector<std::size_t> near_names(std::string_view text, std::span<const std::string_view> names,
                                    std::size_t count = 3);

/// "did you mean A, B or C?"; empty when there are none.
std::string did_you_mean(std::span<const std::string> names);

}  // namespace dpctl

#endif
