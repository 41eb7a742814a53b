#ifndef DP_TESTS_UNIT_PLATFORM_ALLOCATIONS_HPP
#define DP_TESTS_UNIT_PLATFORM_ALLOCATIONS_HPP

#include <cstddef>

namespace test {

/// Watches the program's allocations while it lives: how big the biggest was, and lets those of
/// more than `limit` bytes fail.
class allocation_watch {
  public:
    explicit allocation_watch(std::size_t limit = static_cast<std::size_t>(-1));
    ~allocation_watch();
    allocation_watch(const allocation_watch&) = delete;
    allocation_watch& operator=(const allocation_watch&) = delete;

    [[nodiscard]] static std::size_t biggest();
};

}  // namespace test

#endif
