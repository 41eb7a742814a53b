#include "host/model/vital_product_data.hpp"

#include <gtest/gtest.h>

#include "tests/support/test_platform.hpp"

namespace {

using dp_host::is_product_data_value;
using dp_host::with_product_data;

TEST(is_product_data_value_test, a_value_is_a_line_of_text) {
    EXPECT_TRUE(is_product_data_value("ABC123 (beta)"));
    EXPECT_TRUE(is_product_data_value("\xC3\xA4"));
    EXPECT_FALSE(is_product_data_value(""));
    EXPECT_FALSE(is_product_data_value("a\tb"));
    EXPECT_FALSE(is_product_data_value("a\x7F"));
}

TEST(with_product_data_test, replaces_the_value_of_the_key_and_nothing_else) {
    test::clean_root();
    const std::string path = test::root() + "/vpd";
    EXPECT_EQ(*with_product_data(path, "UEFIID", "B2"), "UEFIID=B2\n");
    test::write_file(path, "SERIAL=1\nUEFIID=B1\nXUEFIID=x\nno key");
    EXPECT_EQ(*with_product_data(path, "UEFIID", "B2"), "SERIAL=1\nUEFIID=B2\nXUEFIID=x\nno key\n");
    test::write_file(path, "SERIAL=1\n");
    EXPECT_EQ(*with_product_data(path, "UEFIID", "B2"), "SERIAL=1\nUEFIID=B2\n");
}

}  // namespace
