// The records and guards of common/ as a program uses them.

#include <gtest/gtest.h>

#include <sstream>
#include <type_traits>

#include "common/file_locks.hpp"
#include "common/hexdump.hpp"
#include "tests/support/data_members.hpp"

TEST(hexdump, is_an_aggregate_that_refers_to_bytes) {
    const unsigned char bytes[] = {0x0a, 0xff};
    const dp::hexdump dump{bytes, 2};
    static_assert(std::is_aggregate_v<dp::hexdump>);
    EXPECT_TRUE(test::in_order(dump.bytes, dump.count));
    static_assert(std::is_same_v<decltype(dump.bytes), const unsigned char*>);
    static_assert(std::is_same_v<decltype(dump.count), int>);
    std::ostringstream os;
    os << dump;
    EXPECT_EQ(os.str(), "0aff");
}

TEST(file_lock_guards, have_one_stream_and_cannot_be_copied) {
    static_assert(sizeof(readlock) == sizeof(void*));
    static_assert(sizeof(writelock) == sizeof(void*));
    static_assert(!std::is_copy_constructible_v<readlock>);
    static_assert(!std::is_copy_constructible_v<writelock>);
    const readlock no_file("");
}
