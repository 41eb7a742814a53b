#include "common/open_regular_file.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "common/io_loops.hpp"
#include "tests/support/closed_standard_input.hpp"
#include "tests/support/intercepted_call.hpp"
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

TEST_F(open_regular_file_test, lets_the_process_decide_who_may_use_a_new_file) {
    for (const mode_t mask : {0000U, 0022U, 0177U}) {
        const mode_t before = umask(mask);
        const int descriptor = dp::open_regular_file(file, O_WRONLY | O_CREAT);
        umask(before);
        struct stat info {};
        ASSERT_EQ(fstat(descriptor, &info), 0);
        EXPECT_EQ(info.st_mode & 07777U, 0666U & ~mask);
        close(descriptor);
        std::filesystem::remove(file);
    }
}

TEST_F(open_regular_file_test, is_not_inherited_by_programs) {
    const int descriptor = dp::open_regular_file(file, O_WRONLY | O_CREAT);
    EXPECT_EQ(fcntl(descriptor, F_GETFD), FD_CLOEXEC);
    close(descriptor);
}

TEST_F(open_regular_file_test, opens_and_refuses_without_standard_input) {
    const test::closed_standard_input closed;
    const int descriptor = dp::open_regular_file(file, O_WRONLY | O_CREAT);
    EXPECT_EQ(descriptor, STDIN_FILENO);
    close(descriptor);
    EXPECT_EQ(dp::open_regular_file("/dev/null", O_WRONLY), -1);
    EXPECT_TRUE(test::closed_standard_input::is_closed());
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

TEST_F(open_regular_file_test, does_not_even_open_what_is_not_a_regular_file) {
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    const int notify = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    ASSERT_GE(inotify_add_watch(notify, file.c_str(), IN_OPEN), 0);
    EXPECT_EQ(dp::open_regular_file(file, O_RDONLY), -1);
    char event[sizeof(inotify_event)];
    EXPECT_EQ(read(notify, event, sizeof event), -1) << "it was opened";
    const int opened = open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    EXPECT_GT(read(notify, event, sizeof event), 0) << "openings are reported";
    close(opened);
    close(notify);
}

TEST_F(open_regular_file_test, refuses_a_pipe_that_replaces_the_file_meanwhile) {
    test::write_file(file, "text");
    const test::closed_standard_input closed;
    {
        const test::intercepted_call replaced(test::libc_call::open, [this] {
            std::filesystem::remove(file);
            return mkfifo(file.c_str(), 0600);
        });
        EXPECT_EQ(dp::open_regular_file(file, O_RDONLY), -1);
    }
    EXPECT_TRUE(std::filesystem::is_fifo(file));
    EXPECT_TRUE(test::closed_standard_input::is_closed()) << "the pipe stays open";
}

TEST_F(open_regular_file_test, follows_a_symlink_to_a_regular_file) {
    test::write_file(file, "text");
    std::filesystem::create_symlink("file", test::root() + "/link");
    const int descriptor = dp::open_regular_file(test::root() + "/link", O_RDONLY);
    ASSERT_GE(descriptor, 0);
    close(descriptor);
}

}  // namespace
