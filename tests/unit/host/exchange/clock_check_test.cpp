#include "host/exchange/clock_check.hpp"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/test_platform.hpp"

namespace {

class clock_check_test : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }

    std::string path = test::root() + "/tmp/dp/clock";
};

TEST_F(clock_check_test, a_clock_that_runs_was_not_set) {
    dp_host::clock_check check;
    EXPECT_FALSE(check.was_set());
    EXPECT_FALSE(check.was_set_since_last_service(path)) << "there was no service";
    EXPECT_FALSE(check.was_set_since_last_service(path));
    EXPECT_FALSE(dp_host::clock_check().was_set_since_last_service(path));
}

TEST_F(clock_check_test, another_offset_or_boot_means_that_it_was_set) {
    dp_host::clock_check check;
    ASSERT_FALSE(check.was_set_since_last_service(path));
    const std::string stored = test::read_file(path);
    const std::size_t space = stored.find(' ');
    const long offset = std::stol(stored.substr(space));
    for (const std::string& other :
         {stored.substr(0, space) + ' ' + std::to_string(offset + 5),
          stored.substr(0, space) + ' ' + std::to_string(offset - 5),
          "other" + stored.substr(space), std::string("garbage"), std::string()}) {
        test::write_file(path, other);
        EXPECT_TRUE(check.was_set_since_last_service(path)) << other;
        EXPECT_EQ(test::read_file(path), stored);
    }
}

}  // namespace
