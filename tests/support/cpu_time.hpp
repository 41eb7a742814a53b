#ifndef DP_TESTS_SUPPORT_CPU_TIME_HPP
#define DP_TESTS_SUPPORT_CPU_TIME_HPP

#include <ctime>

namespace test {

/// The processor time that this process used since the object was made. For bounds so generous
/// that only a cost of another order exceeds them.
class cpu_time {
  public:
    [[nodiscard]] double seconds() const {
        return static_cast<double>(std::clock() - start_) / CLOCKS_PER_SEC;
    }

  private:
    std::clock_t start_ = std::clock();
};

}  // namespace test

#endif
