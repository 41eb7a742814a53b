#include "host/exchange/own_file.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/test_platform.hpp"

namespace {

class own_file_test : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }
    std::string path = test::root() + "/tmp/dp/file";
};

TEST_F(own_file_test, a_regular_file_of_ours_is_opened) {
    test::write_file(path, "hello");
    const auto file = dp_host::open_own_file(path);
    EXPECT_EQ(file.problem, "");
    EXPECT_TRUE(file.descriptor.is_open());
    EXPECT_EQ(file.size, 5U);
    EXPECT_EQ(dp_host::problem_with_file(path), "");
}

TEST_F(own_file_test, a_missing_file_is_told_apart) {
    const auto file = dp_host::open_own_file(path);
    EXPECT_TRUE(file.missing);
    EXPECT_NE(file.problem, "");
    EXPECT_EQ(dp_host::problem_with_file(path), "");
}

TEST_F(own_file_test, links_folders_and_pipes_are_refused_without_waiting) {
    test::write_file(path + ".real", "x");
    ASSERT_EQ(symlink((path + ".real").c_str(), path.c_str()), 0);
    EXPECT_EQ(dp_host::open_own_file(path).problem, path + " is a link");
    EXPECT_EQ(dp_host::problem_with_file(path), path + " is a link");
    ASSERT_EQ(unlink(path.c_str()), 0);
    ASSERT_EQ(mkdir(path.c_str(), 0700), 0);
    EXPECT_EQ(dp_host::open_own_file(path).problem, path + " is not a regular file");
    ASSERT_EQ(rmdir(path.c_str()), 0);
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(dp_host::open_own_file(path).problem, path + " is not a regular file");
    EXPECT_EQ(dp_host::problem_with_file(path), path + " is not a regular file");
}

TEST_F(own_file_test, somebody_elses_file_is_refused) {
    test::write_file(path, "x");
    if (chown(path.c_str(), 12345, static_cast<gid_t>(-1)) != 0) {
        GTEST_SKIP() << "only root can give files away";
    }
    EXPECT_EQ(dp_host::open_own_file(path).problem,
              path + " belongs to user 12345, not to user " + std::to_string(geteuid()));
    EXPECT_NE(dp_host::problem_with_file(path), "");
}

TEST_F(own_file_test, reading_keeps_to_its_limit) {
    std::string problem;
    test::write_file(path, std::string(5000, 'x'));
    EXPECT_EQ(dp_host::read_own_file(path, 5000, problem).size(), 5000U);
    EXPECT_EQ(problem, "");
    EXPECT_EQ(dp_host::read_own_file(path, 4999, problem), "");
    EXPECT_EQ(problem, path + " is longer than 4999 bytes");
    EXPECT_EQ(dp_host::read_own_file("/dev/zero", 10, problem), "");
    EXPECT_NE(problem, "");
}

TEST_F(own_file_test, times_compare_by_seconds_then_parts_of_them) {
    EXPECT_TRUE(dp_host::is_later({2, 0}, {1, 9}));
    EXPECT_TRUE(dp_host::is_later({1, 2}, {1, 1}));
    EXPECT_FALSE(dp_host::is_later({1, 1}, {1, 1}));
    EXPECT_FALSE(dp_host::is_later({1, 9}, {2, 0}));
}

}  // namespace
