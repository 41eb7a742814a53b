#ifndef DP_TESTS_FUZZ_FUZZING_HPP
#define DP_TESTS_FUZZ_FUZZING_HPP

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

/// Called by the fuzzer with every input. Returns 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzzing {

/// Aborts the process when `condition` is false; the fuzzer then reports the input. `what` says
/// what is required.
inline void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "not true: %s\n", what);
        std::abort();
    }
}

}  // namespace fuzzing

#endif
