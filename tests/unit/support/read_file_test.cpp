#include "support/read_file.hpp"

#include <gtest/gtest.h>

#include <cerrno>
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

TEST(read_file, says_why_it_failed) {
    EXPECT_EQ(dp_support::read_file("/nowhere/file", 10).reason(),
              "/nowhere/file: No such file or directory");
    EXPECT_EQ(dp_support::read_file("/", 10).code(), EISDIR);
}

}  // namespace
