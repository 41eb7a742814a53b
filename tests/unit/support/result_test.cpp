#include "support/result.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <string>

namespace {

using dp_support::failure;
using dp_support::result;

TEST(result_test, is_a_value_or_a_failure) {
    const result<std::string> value = std::string("x");
    EXPECT_TRUE(value);
    EXPECT_EQ(*value, "x");
    EXPECT_EQ(value->size(), 1U);
    EXPECT_EQ(value.reason(), "");
    EXPECT_EQ(value.code(), 0);
    const result<std::string> none = failure{"no reason", 7};
    EXPECT_FALSE(none);
    EXPECT_EQ(none.reason(), "no reason");
    EXPECT_EQ(none.code(), 7);
    EXPECT_EQ(none.error().code, 7);
}

TEST(result_test, moves_values_that_cannot_be_copied) {
    result<std::unique_ptr<int>> value = std::make_unique<int>(5);
    const std::unique_ptr<int> moved = *std::move(value);
    EXPECT_EQ(*moved, 5);
}

TEST(result_test, without_a_value_is_success_or_a_failure) {
    const result<> success;
    EXPECT_TRUE(success);
    EXPECT_EQ(success.reason(), "");
    EXPECT_EQ(success.code(), 0);
    const result<> failed = failure{"no reason"};
    EXPECT_FALSE(failed);
    EXPECT_EQ(failed.reason(), "no reason");
    EXPECT_EQ(failed.code(), 0);
}

TEST(result_test, the_next_step_runs_on_success_only) {
    int calls = 0;
    const auto next = [&]() -> result<> {
        ++calls;
        return failure{"second"};
    };
    EXPECT_EQ(result<>().and_then(next).reason(), "second");
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(result<>(failure{"first"}).and_then(next).reason(), "first");
    EXPECT_EQ(calls, 1);
}

TEST(system_failure, names_the_action_the_path_and_the_error) {
    const failure why = dp_support::system_failure("open", "/x", ENOENT);
    EXPECT_EQ(why.reason, "cannot open /x: No such file or directory");
    EXPECT_EQ(why.code, ENOENT);
}

}  // namespace
