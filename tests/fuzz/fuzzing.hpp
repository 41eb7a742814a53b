#ifndef DP_TESTS_FUZZ_FUZZING_HPP
#define DP_TESTS_FUZZ_FUZZING_HPP

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

/// What the fuzzer calls with every input. Returns 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzzing {

/// Ends the process, which the fuzzer reports with the input, when something does not hold.
inline void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

}  // namespace fuzzing

#endif
