#ifndef DP_COMMON_LIKELY_ROOM_HPP
#define DP_COMMON_LIKELY_ROOM_HPP

#include <algorithm>
#include <cstddef>
#include <vector>

namespace dp {

/// Makes room in a list that is full for as many elements as are likely to come, since growing
/// moves all that are there: those before took `bytes_an_element` bytes of the input each, and it
/// has about `bytes_left` more. A guess: it never makes the list grow to more than eight times its
/// size, or to more than 64.
template <class Element>
void make_likely_room(std::vector<Element>& list, std::size_t bytes_an_element,
                      std::size_t bytes_left) {
    const std::size_t size = list.size();
    if (size < list.capacity()) {
        return;
    }
    const std::size_t likely = bytes_left / std::max<std::size_t>(bytes_an_element, 1) + 1;
    list.reserve(size + std::clamp(likely, size / 2 + 1, size * 7 + 64));
}

}  // namespace dp

#endif
