#include "batch/batch_file_loader.hpp"

#include <gtest/gtest.h>

#include <sstream>
#include <type_traits>
#include <vector>

TEST(batch_file_loader, appends_every_entry_and_counts_by_status) {
    std::vector<dp::batch_file_entry> entries(1);
    dp::batch_file_loader loader(&entries);
    EXPECT_EQ(loader.failed, 0U);
    EXPECT_EQ(loader.succeeded, 0U);
    std::istringstream in(
        "0 100 t set A.B \"x\" \"\"\n"
        "226 101 t set A.C \"y\" \"z\"\n"
        "00 102 t set A.D \"\" \"\"\n"
        "0 103 t set A.E \"\" \"\"\n");
    EXPECT_EQ(loader.read_file(in, nullptr), 4);
    EXPECT_EQ(loader.succeeded, 2U);
    EXPECT_EQ(loader.failed, 2U) << "a status is compared as text";
    ASSERT_EQ(entries.size(), 5U);
    EXPECT_EQ(entries[2].detail, "101");
    EXPECT_EQ(entries[2].name.get_name(), "A.C");
    EXPECT_EQ(entries[2].value_out, "z");
    EXPECT_EQ(entries[4].value_in, "") << "entries are copies of the reader's entry";
}

TEST(batch_file_loader, continues_counting_over_several_files) {
    std::vector<dp::batch_file_entry> entries;
    dp::batch_file_loader loader(&entries);
    for (int i = 0; i < 3; ++i) {
        std::istringstream in("0 0 t get A.B \"\" \"\"\n5 0 t get A.B \"\" \"\"\n");
        loader.read_file(in, nullptr);
    }
    EXPECT_EQ(loader.succeeded, 3U);
    EXPECT_EQ(loader.failed, 3U);
    EXPECT_EQ(entries.size(), 6U);
}

TEST(batch_file_loader, cannot_be_copied) {
    EXPECT_FALSE(std::is_copy_constructible_v<dp::batch_file_loader>);
    EXPECT_FALSE(std::is_copy_assignable_v<dp::batch_file_loader>);
}
