#include "host/model/values_file.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

#include "platform/posix/efi_compressor.hpp"
#include "tests/support/sample_template.hpp"
#include "tests/support/test_platform.hpp"

namespace {

using dp_host::named_values;

class values_file_test : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }
    std::string path = test::root() + "/var/dp/values";
    named_values values;
    bool exists = false;
};

TEST_F(values_file_test, every_byte_but_the_line_end_survives) {
    std::string problem;
    const auto model = dp_host::template_model::make(
        {test::attribute_of_type("A", "Bytes", template_info::type_no_range, "")}, nullptr,
        problem);
    dp_host::value_store store(*model);
    std::string all;
    for (int c = 0; c < 256; ++c) {
        if (c != '\n') {
            all += static_cast<char>(c);
        }
    }
    store.put({model->find("A", "Bytes"), dp::no_instance}, all);
    {
        std::ofstream out(path, std::ios::binary);
        dp_host::write_values(store, out);
    }
    ASSERT_EQ(dp_host::read_values(path, values, exists), "");
    ASSERT_EQ(values.size(), 1U);
    EXPECT_EQ(values[0].first, "A.Bytes");
    EXPECT_EQ(values[0].second, all);
}

TEST_F(values_file_test, a_missing_file_has_no_values_and_is_no_problem) {
    EXPECT_EQ(dp_host::read_values(path, values, exists), "");
    EXPECT_FALSE(exists);
    EXPECT_TRUE(values.empty());
}

TEST_F(values_file_test, a_compressed_file_is_read) {
    test::write_file(path,
                     dp_platform::efi_compress("0 0 <t> set A.B \"1\" \"\" \n0 0 <t> set A.C.3 "
                                               "\"x\" \"\" \n"));
    ASSERT_EQ(dp_host::read_values(path, values, exists), "");
    EXPECT_EQ(values, (named_values{{"A.B", "1"}, {"A.C.3", "x"}}));
}

TEST_F(values_file_test, a_link_is_refused) {
    test::write_file(path + ".real", "");
    ASSERT_EQ(symlink((path + ".real").c_str(), path.c_str()), 0);
    EXPECT_EQ(dp_host::read_values(path, values, exists), path + " is a link");
}

}  // namespace
