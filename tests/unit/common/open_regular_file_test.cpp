#include "common/open_regular_file.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "common/io_loops.hpp"
#include "tests/support/scratch_files.hpp"

namespace {

class in_scratch_folder : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }

    const std::string file = test::root() + "/file";
};

using open_regular_file_test = in_scratch_folder;

TEST_F(open_regular_file_test, opens_an_existing_file_and_creates_a_new_one) {
    for (int round = 0; round < 2; ++round) {
        const int descriptor = dp::open_regular_file(file, O_WRONLY | O_CREAT | O_APPEND);
        ASSERT_GE(descriptor, 0);
        EXPECT_TRUE(dp::write_all(descriptor, "text"));
        close(descriptor);
    }
    EXPECT_EQ(test::read_file(file), "texttext");
}

TEST_F(open_regular_file_test, refuses_everything_else_without_waiting) {
    EXPECT_EQ(dp::open_regular_file(file, O_RDONLY), -1) << "it is missing";
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    EXPECT_EQ(dp::open_regular_file(file, O_RDONLY), -1);
    EXPECT_EQ(dp::open_regular_file(file, O_WRONLY), -1);
    EXPECT_EQ(dp::open_regular_file(test::root(), O_RDONLY), -1);
    EXPECT_EQ(dp::open_regular_file("/dev/null", O_WRONLY), -1);
    std::filesystem::create_symlink("file", test::root() + "/link");
    EXPECT_EQ(dp::open_regular_file(test::root() + "/link", O_RDONLY), -1);
}

}  // namespace
