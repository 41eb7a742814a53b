#include "service_api/plain_size.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/scratch_files.hpp"

namespace {

class plain_size_test : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }
    std::string path = test::root() + "/file";
};

TEST_F(plain_size_test, of_a_text_is_its_own_size) {
    for (const std::string text : {"", "short", "a text that is longer than a header"}) {
        test::write_file(path, text);
        EXPECT_EQ(dp_service::plain_size(path), text.size());
    }
    ASSERT_EQ(truncate(path.c_str(), off_t{3} << 30U), 0);
    EXPECT_EQ(dp_service::plain_size(path), std::uint64_t{3} << 30U);
}

TEST_F(plain_size_test, of_an_image_is_that_of_its_text) {
    // Compressed and original size: 4 and 0x0F030201.
    test::write_file(path, std::string("\x04\0\0\0\x01\x02\x03\x0F", 8) + "data");
    EXPECT_EQ(dp_service::plain_size(path), 0x0F030201U);
    test::write_file(path, std::string("\x04\0\0\0\x01\0\0\0", 8) + "data");
    EXPECT_EQ(dp_service::plain_size(path), 12U);
}

TEST_F(plain_size_test, there_is_none_of_anything_but_a_file) {
    EXPECT_EQ(dp_service::plain_size(path), std::nullopt);
    EXPECT_EQ(dp_service::plain_size(test::root()), std::nullopt);
    ASSERT_EQ(mkfifo(path.c_str(), S_IRUSR | S_IWUSR), 0);
    EXPECT_EQ(dp_service::plain_size(path), std::nullopt);
}

}  // namespace
