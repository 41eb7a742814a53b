#ifndef DP_SUPPORT_WIPED_MEMORY_HPP
#define DP_SUPPORT_WIPED_MEMORY_HPP

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>

// Memory for secrets: its bytes are overwritten before it is given back.

namespace dp_support {

/// Overwrites the bytes of `text`, also where the compiler sees no reader of them, and makes it
/// empty.
inline void wipe(std::string& text) {
    explicit_bzero(text.data(), text.size());
    text.clear();
}

/// Overwrites what it frees, as when a string grows.
template <class T>
class wiping_allocator {
  public:
    using value_type = T;

    wiping_allocator() = default;
    template <class Other>
    wiping_allocator(const wiping_allocator<Other>& /*other*/) {}

    static T* allocate(std::size_t count) { return std::allocator<T>().allocate(count); }
    static void deallocate(T* memory, std::size_t count) {
        explicit_bzero(static_cast<void*>(memory), count * sizeof(T));
        std::allocator<T>().deallocate(memory, count);
    }

    bool operator==(const wiping_allocator& /*other*/) const { return true; }
};

}  // namespace dp_support

#endif
