#include "host/model/values_file.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
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
};

TEST_F(values_file_test, every_byte_but_the_newline_is_read_back) {
    const auto model = *dp_host::template_model::make(
        {test::attribute_of_type("A", "Bytes", template_info::type_no_range, "")}, nullptr);
    dp_host::value_store store(*model);
    std::string all;
    for (int c = 0; c < 256; ++c) {
        if (c != '\n') {
            all += static_cast<char>(c);
        }
    }
    store.put({model->find("A", "Bytes"), dp::no_instance}, all);
    std::string version;
    {
        std::ofstream out(path, std::ios::binary);
        version = dp_host::write_values(store, out);
    }
    const auto values = dp_host::read_values(path);
    ASSERT_TRUE(values) << values.reason();
    EXPECT_EQ(values->version, version);
    ASSERT_EQ(values->values.size(), 1U);
    EXPECT_EQ(values->values.at(0).first, "A.Bytes");
    EXPECT_EQ(values->values.at(0).second, all);
}

TEST_F(values_file_test, a_missing_file_has_a_code_of_its_own) {
    EXPECT_EQ(dp_host::read_values(path).code(), ENOENT);
}

TEST_F(values_file_test, a_compressed_file_is_read) {
    test::write_file(path,
                     dp_platform::efi_compress("0 0 <t> set A.B \"1\" \"\" \n0 0 <t> set A.C.3 "
                                               "\"x\" \"\" \n"));
    const auto values = dp_host::read_values(path);
    ASSERT_TRUE(values) << values.reason();
    EXPECT_EQ(values->values, (named_values{{"A.B", "1"}, {"A.C.3", "x"}}));
}

TEST_F(values_file_test, a_damaged_file_is_refused_with_a_code_of_its_own) {
    for (const char* const text : {"", "0 0 <t> set A.B \"1\" \"\" \n0 0 <t> set A.C \"5"}) {
        test::write_file(path, text);
        EXPECT_EQ(dp_host::read_values(path).code(), EBADMSG);
    }
    EXPECT_EQ(dp_host::read_values(path).reason(),
              path + " is damaged: its last line is incomplete");
}

TEST_F(values_file_test, a_symlink_is_refused) {
    test::write_file(path + ".real", "");
    ASSERT_EQ(symlink((path + ".real").c_str(), path.c_str()), 0);
    EXPECT_EQ(dp_host::read_values(path).reason(), path + " is a symlink");
}

}  // namespace
