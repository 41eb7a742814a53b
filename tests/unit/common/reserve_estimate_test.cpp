#include "common/reserve_estimate.hpp"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

using dp::reserve_estimate;

namespace {

using element = std::array<char, 16>;

// How often a list grew while `count` elements of `bytes` each were read from an input.
unsigned growths(std::size_t count, std::size_t bytes) {
    std::vector<element> list;
    unsigned grown = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (list.size() == list.capacity()) {
            reserve_estimate(list, bytes, (count - i - 1) * bytes);
            ++grown;
        }
        list.emplace_back();
    }
    return grown;
}

}  // namespace

TEST(reserve_estimate, reserves_once_for_the_sample_and_once_for_the_rest) {
    EXPECT_EQ(growths(1, 100), 1U);
    EXPECT_EQ(growths(64, 100), 1U);
    EXPECT_EQ(growths(65, 100), 2U);
    EXPECT_EQ(growths(100'000, 100), 2U);
}

TEST(reserve_estimate, adds_a_margin_for_elements_that_are_a_little_shorter) {
    std::vector<element> list(64);
    list.shrink_to_fit();
    reserve_estimate(list, 100, 100'000);
    EXPECT_GE(list.capacity(), 64U + 1000U + 1000U / 16);
    EXPECT_LE(list.capacity(), 64U + 1200U);
}

TEST(reserve_estimate, adds_at_most_eight_times_the_memory_of_the_unread_input) {
    // A sample of almost empty elements must not make the list fill the memory.
    std::vector<element> list(64);
    list.shrink_to_fit();
    reserve_estimate(list, 1, 1'000'000);
    EXPECT_LE(list.capacity() * sizeof(element), 64 * sizeof(element) + 8'000'000);
    EXPECT_GE(list.capacity() * sizeof(element), 4'000'000U);
}

TEST(reserve_estimate, grows_by_at_least_half_when_the_estimate_is_too_low) {
    for (const std::size_t left : {0U, 1U, 10U}) {
        std::vector<element> list(1000);
        list.shrink_to_fit();
        reserve_estimate(list, 100, left);
        EXPECT_GE(list.capacity(), 1500U);
        EXPECT_LE(list.capacity(), 2000U);
    }
}

TEST(reserve_estimate, does_nothing_while_there_is_spare_capacity) {
    std::vector<element> list;
    list.reserve(10);
    list.resize(9);
    reserve_estimate(list, 1, 1'000'000);
    EXPECT_EQ(list.capacity(), 10U);
}

TEST(reserve_estimate, accepts_elements_of_no_bytes) {
    std::vector<element> list;
    reserve_estimate(list, 0, 0);
    EXPECT_GE(list.capacity(), 1U);
}
