#ifndef DP_TESTS_SUPPORT_COVERAGE_COUNTS_HPP
#define DP_TESTS_SUPPORT_COVERAGE_COUNTS_HPP

namespace test {

/// Writes the counts of a build with --coverage, for a process that ends without exit handlers and
/// is not killed meanwhile, which would leave a damaged file. Does nothing in other builds.
void write_coverage_counts();

/// Lets `abort` write them too.
void write_coverage_counts_when_aborted();

}  // namespace test

#endif
