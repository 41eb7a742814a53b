#include "tests/support/coverage_counts.hpp"

#include <csignal>

// Of the compiler's run-time library; null in a build without --coverage.
extern "C" [[gnu::weak]] void __gcov_dump();

namespace test {

void write_coverage_counts() {
    if (__gcov_dump != nullptr) {
        __gcov_dump();
    }
}

void write_coverage_counts_when_aborted() {
    if (__gcov_dump != nullptr) {
        // When the handler returns, abort ends the process.
        std::signal(SIGABRT, [](int) { __gcov_dump(); });
    }
}

}  // namespace test
