#include "service_api/value_limits.hpp"

#include <gtest/gtest.h>

#include "service_api/service_status.hpp"

namespace {

namespace service_status = dp_service::service_status;
using dp_service::value_limits::check_length;
using dp_service::value_limits::check_number;

TEST(check_number, accepts_the_bounds_and_the_steps_between) {
    for (const char* const value : {"10", "15", "0020", "30"}) {
        EXPECT_EQ(check_number(value, 10, 30, 5), 0) << value;
    }
    EXPECT_EQ(check_number("9", 10, 30, 5), service_status::out_of_range);
    EXPECT_EQ(check_number("31", 10, 30, 5), service_status::out_of_range);
    EXPECT_EQ(check_number("14", 10, 30, 5), service_status::not_a_step);
}

TEST(check_number, has_no_bounds_when_both_are_0) {
    EXPECT_EQ(check_number("4294967295", 0, 0, 0), 0);
    EXPECT_EQ(check_number("4294967296", 0, 0, 0), service_status::out_of_range);
    EXPECT_EQ(check_number("1", 0, 1, 0), 0);
    EXPECT_EQ(check_number("2", 0, 1, 0), service_status::out_of_range);
}

TEST(check_number, accepts_only_digits) {
    for (const char* const value : {"", "-1", "+1", " 1", "1 ", "0x1", "1.0", "one"}) {
        EXPECT_EQ(check_number(value, 0, 0, 1), service_status::not_a_number) << value;
    }
}

TEST(check_length, has_no_upper_limit_when_it_is_0) {
    EXPECT_EQ(check_length(3, 4, 8), service_status::too_short);
    EXPECT_EQ(check_length(4, 4, 8), 0);
    EXPECT_EQ(check_length(8, 4, 8), 0);
    EXPECT_EQ(check_length(9, 4, 8), service_status::too_long);
    EXPECT_EQ(check_length(1'000'000, 0, 0), 0);
}

}  // namespace
