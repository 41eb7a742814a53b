#include "tools/dpctl/values/waiting_values.hpp"

#include <gtest/gtest.h>

namespace dpctl {
namespace {

TEST(count_waiting_values, counts_values_that_differ_or_are_in_one_file_only) {
    const dp_service::stored_values current{{"A", "1"}, {"B", "2"}, {"C", "3"}};
    EXPECT_EQ(count_waiting_values(current, current), 0U);
    EXPECT_EQ(count_waiting_values({{"A", "1"}, {"B", "5"}, {"C", "3"}}, current), 1U);
    EXPECT_EQ(count_waiting_values({{"A", "1"}, {"D", "2"}, {"C", "3"}}, current), 2U);
    EXPECT_EQ(count_waiting_values({}, current), 3U);
}

}  // namespace
}  // namespace dpctl
