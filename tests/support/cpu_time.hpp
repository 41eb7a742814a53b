#ifndef DP_TESTS_SUPPORT_CPU_TIME_HPP
#define DP_TESTS_SUPPORT_CPU_TIME_HPP

#include <cstdint>
#include <ctime>
#include <map>
#include <stdexcept>
#include <string>

namespace test {

/// The processor time of this process since the object was created. For bounds so generous that
/// only a cost of a higher order exceeds them.
class cpu_time {
  public:
    [[nodiscard]] double seconds() const {
        return static_cast<double>(std::clock() - start_) / CLOCKS_PER_SEC;
    }

  private:
    std::clock_t start_ = std::clock();
};

/// The processor time, in seconds, that this machine and build need to insert 100,000 texts into a
/// tree and to find each of them. Bounds for the cost of as many calls are multiples of it, so that
/// they are also valid with an emulator or a sanitizer.
inline double cost_of_100_000_calls() {
    constexpr std::uint32_t many = 100'000;
    // Spreads the numbers over the whole range.
    constexpr std::uint32_t factor = 2'654'435'761U;
    const cpu_time used;
    std::map<std::uint32_t, std::string> tree;
    for (std::uint32_t i = 0; i < many; ++i) {
        tree[i * factor] = std::to_string(i);
    }
    for (std::uint32_t i = 0; i < many; ++i) {
        if (tree.find(i * factor)->second.empty()) {
            throw std::logic_error("a text was lost");
        }
    }
    return used.seconds();
}

}  // namespace test

#endif
