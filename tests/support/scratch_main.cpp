#include <gmock/gmock.h>

#include <filesystem>
#include <vector>

#include "tests/support/coverage_counts.hpp"
#include "tests/support/scratch_process.hpp"

// Runs the tests in a scratch process.
int main(int argc, char** argv) {
    test::write_coverage_counts_when_aborted();
    // The test framework removes its options from argv; the scratch process needs them.
    std::vector<char*> arguments(argv, argv + argc);
    arguments.push_back(nullptr);
    testing::InitGoogleMock(&argc, argv);
    if (testing::GTEST_FLAG(list_tests)) {
        return RUN_ALL_TESTS();
    }
    return test::run_in_scratch_process(arguments.data(), std::filesystem::temp_directory_path(),
                                        [] { return RUN_ALL_TESTS(); });
}
