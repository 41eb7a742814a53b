#include "host/process/trusted_file.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "tests/support/test_platform.hpp"

namespace {

using dp_host::check_trusted;
using dp_host::open_trusted_file;
using dp_host::read_trusted_file;

class trusted_file_test : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }

    void expect_refused(const std::string& reason) {
        EXPECT_EQ(open_trusted_file(path).reason(), reason);
        EXPECT_EQ(check_trusted(path).reason(), reason);
        EXPECT_FALSE(dp_host::is_missing(path));
    }

    std::string path = test::root() + "/tmp/dp/file";
};

TEST_F(trusted_file_test, a_regular_file_of_this_user_is_trusted) {
    test::write_file(path, "hello");
    const auto file = open_trusted_file(path);
    ASSERT_TRUE(file) << file.reason();
    EXPECT_TRUE(file->descriptor.is_open());
    EXPECT_EQ(file->size, 5U);
    EXPECT_TRUE(check_trusted(path));
}

TEST_F(trusted_file_test, a_missing_file_has_a_code_of_its_own) {
    EXPECT_EQ(open_trusted_file(path).code(), ENOENT);
    EXPECT_EQ(read_trusted_file(path, 10).code(), ENOENT);
    EXPECT_TRUE(check_trusted(path));
    EXPECT_TRUE(dp_host::is_missing(path));
}

TEST_F(trusted_file_test, symlinks_folders_and_pipes_are_refused_without_waiting) {
    test::write_file(path + ".real", "x");
    ASSERT_EQ(symlink((path + ".real").c_str(), path.c_str()), 0);
    expect_refused(path + " is a symlink");
    ASSERT_EQ(unlink(path.c_str()), 0);
    ASSERT_EQ(mkdir(path.c_str(), 0700), 0);
    expect_refused(path + " is not a regular file");
    ASSERT_EQ(rmdir(path.c_str()), 0);
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    expect_refused(path + " is not a regular file");
}

TEST_F(trusted_file_test, the_file_of_another_user_is_refused) {
    test::write_file(path, "x");
    if (chown(path.c_str(), 12345, static_cast<gid_t>(-1)) != 0) {
        GTEST_SKIP() << "only root can give files away";
    }
    expect_refused(path + " belongs to user 12345, not to user " + std::to_string(geteuid()));
}

TEST_F(trusted_file_test, reading_stops_at_the_limit) {
    test::write_file(path, std::string(5000, 'x'));
    const auto content = read_trusted_file(path, 5000);
    ASSERT_TRUE(content) << content.reason();
    EXPECT_EQ(content->size(), 5000U);
    EXPECT_EQ(read_trusted_file(path, 4999).reason(), path + " is longer than 4999 bytes");
    EXPECT_FALSE(read_trusted_file("/dev/zero", 10));
}

TEST(is_later_test, compares_seconds_before_nanoseconds) {
    EXPECT_TRUE(dp_host::is_later({2, 0}, {1, 9}));
    EXPECT_TRUE(dp_host::is_later({1, 2}, {1, 1}));
    EXPECT_FALSE(dp_host::is_later({1, 1}, {1, 1}));
    EXPECT_FALSE(dp_host::is_later({1, 9}, {2, 0}));
}

}  // namespace
