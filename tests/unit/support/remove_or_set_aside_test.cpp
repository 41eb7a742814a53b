#include "support/remove_or_set_aside.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "tests/support/scratch_files.hpp"

namespace {

class remove_or_set_aside : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }
    std::string path = test::root() + "/tmp/dp/file";
};

TEST_F(remove_or_set_aside, removes_files_symlinks_and_empty_folders) {
    EXPECT_TRUE(dp_support::remove_or_set_aside(path));
    test::write_file(path + ".real", "x");
    ASSERT_EQ(symlink((path + ".real").c_str(), path.c_str()), 0);
    EXPECT_TRUE(dp_support::remove_or_set_aside(path));
    EXPECT_EQ(test::read_file(path + ".real"), "x");
    ASSERT_EQ(mkdir(path.c_str(), 0700), 0);
    EXPECT_TRUE(dp_support::remove_or_set_aside(path));
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(remove_or_set_aside, renames_a_folder_that_is_not_empty) {
    for (int i = 1; i <= 2; ++i) {
        std::filesystem::create_directories(path);
        test::write_file(path + "/precious", std::to_string(i));
        EXPECT_TRUE(dp_support::remove_or_set_aside(path));
        EXPECT_FALSE(std::filesystem::exists(path));
    }
    EXPECT_EQ(test::read_file(path + ".aside-1/precious"), "1");
    EXPECT_EQ(test::read_file(path + ".aside-2/precious"), "2");
}

}  // namespace
