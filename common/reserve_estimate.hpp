#ifndef DP_COMMON_RESERVE_ESTIMATE_HPP
#define DP_COMMON_RESERVE_ESTIMATE_HPP

#include <algorithm>
#include <cstddef>
#include <vector>

namespace dp {

/// Reserves memory in a full list for the elements that the unread input is estimated to contain,
/// because growing moves every element. Does nothing while the list has spare capacity.
///
/// `bytes_per_element` is the average size of the elements read so far, in bytes of the input;
/// `bytes_left` is about how much of the input is unread. The first 64 elements are the sample that
/// makes the estimate good enough. After them one call adds at most eight times the memory that the
/// unread input takes or as many elements as the list has, whichever is more.
template <class Element>
void reserve_estimate(std::vector<Element>& list, std::size_t bytes_per_element,
                      std::size_t bytes_left) {
    constexpr std::size_t sample = 64;
    const std::size_t size = list.size();
    if (size < list.capacity()) {
        return;
    }
    std::size_t estimate = bytes_left / std::max<std::size_t>(bytes_per_element, 1) + 1;
    // A margin: elements that are a little shorter must not make the list grow again.
    estimate += estimate / 16;
    const std::size_t most =
        size < sample ? sample : std::max(bytes_left / sizeof(Element) * 8, size);
    list.reserve(size + std::clamp(estimate, size / 2 + 1, most));
}

}  // namespace dp

#endif
