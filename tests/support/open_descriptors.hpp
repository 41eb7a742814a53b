#ifndef DP_TESTS_SUPPORT_OPEN_DESCRIPTORS_HPP
#define DP_TESTS_SUPPORT_OPEN_DESCRIPTORS_HPP

#include <cstddef>
#include <filesystem>
#include <iterator>

namespace test {

/// The number of descriptors that this process has open, and one more. Only differences matter.
inline std::ptrdiff_t open_descriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return std::distance(begin(all), end(all));
}

}  // namespace test

#endif
