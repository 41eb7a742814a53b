#ifndef DP_TESTS_UNIT_HOST_EXCHANGE_ANSWERED_BATCH_HPP
#define DP_TESTS_UNIT_HOST_EXCHANGE_ANSWERED_BATCH_HPP

#include <gtest/gtest.h>

#include <string>

#include "host/exchange/run_batch.hpp"
#include "support/staged_file.hpp"
#include "tests/support/scratch_files.hpp"

namespace test {

/// Runs the batch file `path` and returns its answer.
inline std::string answer_to(const std::string& path, dp_host::host_registrar& registrar) {
    const std::string result = root() + "/tmp/dp/batch.out";
    dp_support::staged_file answer(result, dp_support::staged_file::volatile_file);
    const auto run = dp_host::run_batch(path, registrar, answer);
    EXPECT_TRUE(run) << run.reason();
    const auto placed = answer.replace();
    EXPECT_TRUE(placed) << placed.reason();
    return read_file(result);
}

}  // namespace test

#endif
