#ifndef DP_TESTS_UNIT_PLATFORM_ALLOCATIONS_HPP
#define DP_TESTS_UNIT_PLATFORM_ALLOCATIONS_HPP

#include <cstddef>

namespace test {

/// Records the size of the program's largest allocation for its lifetime, and makes allocations of
/// more than `limit` bytes fail.
class allocation_watch {
  public:
    explicit allocation_watch(std::size_t limit = static_cast<std::size_t>(-1));
    ~allocation_watch();
    allocation_watch(const allocation_watch&) = delete;
    allocation_watch& operator=(const allocation_watch&) = delete;

    [[nodiscard]] static std::size_t largest();
};

}  // namespace test

#endif
