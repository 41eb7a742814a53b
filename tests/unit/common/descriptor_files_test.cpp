#include "common/descriptor_files.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/support/scratch_files.hpp"

namespace {

class descriptor_files : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }

    const std::string file = test::root() + "/file";
};

TEST_F(descriptor_files, a_regular_file_is_opened_made_and_written_whole) {
    const std::string text(300'000, 'x');
    for (int round = 0; round < 2; ++round) {
        const int descriptor = dp::open_regular_file(file, O_WRONLY | O_CREAT | O_APPEND);
        ASSERT_GE(descriptor, 0);
        dp::write_all(descriptor, text);
        dp::write_all(descriptor, "");
        close(descriptor);
    }
    EXPECT_EQ(test::read_file(file), text + text);
}

TEST_F(descriptor_files, what_is_no_regular_file_is_not_opened_nor_waited_for) {
    EXPECT_EQ(dp::open_regular_file(file, O_RDONLY), -1) << "it is missing";
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    EXPECT_EQ(dp::open_regular_file(file, O_RDONLY), -1);
    EXPECT_EQ(dp::open_regular_file(file, O_WRONLY), -1);
    EXPECT_EQ(dp::open_regular_file(test::root(), O_RDONLY), -1);
    EXPECT_EQ(dp::open_regular_file("/dev/null", O_WRONLY), -1);
    std::filesystem::create_symlink("file", test::root() + "/link");
    EXPECT_EQ(dp::open_regular_file(test::root() + "/link", O_RDONLY), -1);
}

TEST_F(descriptor_files, what_cannot_be_written_is_lost) {
    test::write_file(file, "kept");
    const int descriptor = dp::open_regular_file(file, O_RDONLY);
    ASSERT_GE(descriptor, 0);
    dp::write_all(descriptor, "lost");
    close(descriptor);
    EXPECT_EQ(test::read_file(file), "kept");
}

}  // namespace
