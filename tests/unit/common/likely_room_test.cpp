#include "common/likely_room.hpp"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

using dp::make_likely_room;

namespace {

using element = std::array<char, 16>;

// How often a list moved while `count` elements of `bytes` each came from an input.
unsigned moves(std::size_t count, std::size_t bytes) {
    std::vector<element> list;
    unsigned moved = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (list.size() == list.capacity()) {
            make_likely_room(list, bytes, (count - i - 1) * bytes);
            ++moved;
        }
        list.emplace_back();
    }
    return moved;
}

}  // namespace

TEST(likely_room, is_made_once_for_a_sample_and_once_for_the_rest) {
    EXPECT_EQ(moves(1, 100), 1U);
    EXPECT_EQ(moves(64, 100), 1U);
    EXPECT_EQ(moves(65, 100), 2U);
    EXPECT_EQ(moves(100'000, 100), 2U);
}

TEST(likely_room, has_some_to_spare_for_elements_a_little_shorter) {
    std::vector<element> list(64);
    list.shrink_to_fit();
    make_likely_room(list, 100, 100'000);
    EXPECT_GE(list.capacity(), 64U + 1000U + 1000U / 16);
    EXPECT_LE(list.capacity(), 64U + 1200U);
}

TEST(likely_room, is_no_more_than_eight_times_what_the_input_can_hold) {
    // The sample was of next to empty elements; who wrote them must not fill the memory with them.
    std::vector<element> list(64);
    list.shrink_to_fit();
    make_likely_room(list, 1, 1'000'000);
    EXPECT_LE(list.capacity() * sizeof(element), 64 * sizeof(element) + 8'000'000);
    EXPECT_GE(list.capacity() * sizeof(element), 4'000'000U);
}

TEST(likely_room, grows_by_half_at_least_when_the_input_told_too_little) {
    for (const std::size_t left : {0U, 1U, 10U}) {
        std::vector<element> list(1000);
        list.shrink_to_fit();
        make_likely_room(list, 100, left);
        EXPECT_GE(list.capacity(), 1500U);
        EXPECT_LE(list.capacity(), 2000U);
    }
}

TEST(likely_room, is_left_alone_where_there_is_some) {
    std::vector<element> list;
    list.reserve(10);
    list.resize(9);
    make_likely_room(list, 1, 1'000'000);
    EXPECT_EQ(list.capacity(), 10U);
}

TEST(likely_room, does_not_mind_elements_of_no_bytes) {
    std::vector<element> list;
    make_likely_room(list, 0, 0);
    EXPECT_GE(list.capacity(), 1U);
}
