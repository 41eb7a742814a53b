#ifndef DP_COMMON_LIKELY_ROOM_HPP
#define DP_COMMON_LIKELY_ROOM_HPP

#include <algorithm>
#include <cstddef>
#include <vector>

namespace dp {

/// Makes room in a list that is full for as many elements as are likely to come, since growing
/// moves all that are there: those before took `bytes_an_element` bytes of the input each, and it
/// has about `bytes_left` more. A guess, which the first 64 elements found; it never makes the list
/// grow by more than eight times the memory that the rest of the input takes, or to more than twice
/// its size.
template <class Element>
void make_likely_room(std::vector<Element>& list, std::size_t bytes_an_element,
                      std::size_t bytes_left) {
    constexpr std::size_t sample = 64;
    const std::size_t size = list.size();
    if (size < list.capacity()) {
        return;
    }
    std::size_t likely = bytes_left / std::max<std::size_t>(bytes_an_element, 1) + 1;
    // Elements that are a little shorter than those before must not make the list grow again.
    likely += likely / 16;
    const std::size_t most =
        size < sample ? sample : std::max(bytes_left / sizeof(Element) * 8, size);
    list.reserve(size + std::clamp(likely, size / 2 + 1, most));
}

}  // namespace dp

#endif
