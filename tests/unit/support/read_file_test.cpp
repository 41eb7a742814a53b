#include "support/read_file.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <string>

#include "tests/support/scratch_files.hpp"

namespace {

TEST(read_file, gives_all_bytes_up_to_the_limit) {
    const std::string path = test::root() + "/read";
    const std::string content = std::string(100'000, 'x') + '\0' + "y";
    test::write_file(path, content);
    const auto read = dp_support::read_file(path, content.size());
    ASSERT_TRUE(read) << read.reason();
    EXPECT_EQ(*read, content);
    const auto limited = dp_support::read_file(path, content.size() - 1);
    EXPECT_EQ(limited.reason(), path + ": is larger than 100001 bytes");
    EXPECT_EQ(limited.code(), EFBIG);
}

TEST(read_file, ends_at_the_limit_of_an_endless_file) {
    EXPECT_EQ(dp_support::read_file("/dev/zero", 1000).code(), EFBIG);
}

TEST(read_file, refuses_a_huge_file_unread) {
    const std::string path = test::root() + "/huge";
    test::write_file(path, "");
    ASSERT_EQ(truncate(path.c_str(), off_t{3} << 30U), 0);
    const std::clock_t begin = std::clock();
    EXPECT_EQ(dp_support::read_file(path, std::size_t{1} << 30U).code(), EFBIG);
    EXPECT_LT(std::clock() - begin, CLOCKS_PER_SEC / 10);
}

TEST(read_file, says_why_it_failed) {
    EXPECT_EQ(dp_support::read_file("/nowhere/file", 10).reason(),
              "/nowhere/file: No such file or directory");
    EXPECT_EQ(dp_support::read_file("/", 10).code(), EISDIR);
}

}  // namespace
