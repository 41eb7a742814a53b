#include "host/model/read_template.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <sstream>

#include "common/file_utilities.hpp"
#include "common/fixed_paths.hpp"
#include "tests/support/sample_template.hpp"
#include "tests/support/test_platform.hpp"

namespace {

class read_template_test : public testing::Test {
  protected:
    void SetUp() override {
        test::clean_root();
        test::write_file(bios, records({test::choice("A", "X", "1", "1,2")}));
        // Replaces the board's tool: the template is plain text here.
        test::write_script(dpspy, "echo \"$*\" >> " + calls + "; cp \"$3\" \"$5\"");
    }

    static std::string records(const std::vector<template_info>& infos) {
        std::ostringstream out;
        for (const auto& info : infos) {
            out << info;
        }
        return out.str();
    }

    std::string read() {
        auto read = dp_host::read_template(bios, text);
        infos = read ? *std::move(read) : std::vector<template_info>();
        return read.reason();
    }

    std::string bios = test::root() + "/var/dp/uefi_template.efi";
    std::string text = test::root() + "/tmp/dp/uefi_info.txt";
    std::string dpspy = test::root() + "/bin/dpspy";
    std::string calls = test::root() + "/calls";
    std::vector<template_info> infos;
};

TEST_F(read_template_test, expands_a_new_template) {
    ASSERT_EQ(read(), "");
    ASSERT_EQ(infos.size(), 1U);
    EXPECT_EQ(infos[0].id, "X");
    EXPECT_EQ(test::read_file(calls), "-sf -i " + bios + " -o " + text + "\n");
}

TEST_F(read_template_test, reads_an_attribute_text_that_is_newer_than_the_template) {
    test::write_file(text, records({test::choice("A", "Y", "", "")}));
    test::set_mtime(bios, 1000);
    test::set_mtime(text, 1001);
    ASSERT_EQ(read(), "");
    EXPECT_EQ(infos[0].id, "Y");
    EXPECT_FALSE(fileexist(calls));
    test::set_mtime(bios, 1001);
    ASSERT_EQ(read(), "");
    EXPECT_EQ(infos[0].id, "X");
}

TEST_F(read_template_test, is_followed_by_an_expansion_of_what_is_missing) {
    test::set_mtime(bios, 1000);
    ASSERT_EQ(read(), "");
    ASSERT_TRUE(dp_host::write_expansion(bios));
    const std::string once = "-sf -i " + bios + " -o " + text + "\n";
    EXPECT_EQ(test::read_file(calls),
              once + "-sc -i " + bios + " -o " + dp::fixed_paths::uefi_configs.str() + "\n");
    ASSERT_TRUE(dp_host::write_expansion(bios));
    EXPECT_EQ(test::read_file(calls).find(once, 1), std::string::npos) << "expanded again";
}

TEST_F(read_template_test, fails_without_a_template_even_with_an_attribute_text) {
    ASSERT_EQ(read(), "");
    ASSERT_EQ(unlink(bios.c_str()), 0);
    EXPECT_EQ(read(), "cannot open " + bios + ": No such file or directory");
}

TEST_F(read_template_test, fails_when_the_tool_fails) {
    test::write_script(dpspy, "exit 1");
    EXPECT_EQ(read(), dpspy + " failed with exit code 1");
    ASSERT_EQ(unlink(dpspy.c_str()), 0);
    EXPECT_EQ(read(), "cannot run " + dpspy + ": No such file or directory");
}

TEST_F(read_template_test, fails_when_the_tool_writes_nothing) {
    test::write_script(dpspy, "exit 0");
    EXPECT_EQ(read(), "cannot open " + text + ": No such file or directory");
}

TEST_F(read_template_test, fails_for_a_text_without_attributes) {
    test::write_file(bios, "");
    EXPECT_EQ(read(), text + " contains no attributes");
    test::write_file(bios, "\xA7\xA7\n");
    EXPECT_EQ(read(), text + " contains no attributes");
    test::write_file(bios, "this is not a template");
    EXPECT_EQ(read(), text + " contains no attributes");
}

TEST_F(read_template_test, skips_empty_template_records) {
    test::write_file(bios, "\xA7" + records({test::choice("A", "X", "", "")}) + "\xA7");
    ASSERT_EQ(read(), "");
    EXPECT_EQ(infos.size(), 1U);
}

TEST_F(read_template_test, fails_for_an_overlong_template_record) {
    auto big = test::choice("A", "Big", "", "");
    big.dsc = std::string(20'000, 'x');
    test::write_file(bios, records({test::choice("A", "X", "", ""), big}));
    EXPECT_EQ(read(), text + ": the record after attribute 1 is too long");
    EXPECT_TRUE(infos.empty());
}

TEST_F(read_template_test, refuses_symlinks) {
    ASSERT_EQ(symlink(calls.c_str(), text.c_str()), 0);
    EXPECT_EQ(read(), text + " is a symlink");
    ASSERT_EQ(unlink(text.c_str()), 0);
    ASSERT_EQ(rename(bios.c_str(), (bios + ".real").c_str()), 0);
    ASSERT_EQ(symlink((bios + ".real").c_str(), bios.c_str()), 0);
    EXPECT_EQ(read(), bios + " is a symlink");
}

TEST_F(read_template_test, refuses_a_huge_template_without_expanding_it) {
    const std::string reason = bios + " has more than 67108864 bytes";
    ASSERT_EQ(truncate(bios.c_str(), off_t{3} << 30U), 0);
    EXPECT_EQ(read(), reason);
    // The header of an image whose text has 0x0F000000 bytes.
    test::write_file(bios, std::string("\x04\0\0\0\0\0\0\x0F", 8) + "data");
    EXPECT_EQ(read(), reason);
    EXPECT_FALSE(fileexist(calls));
}

TEST_F(read_template_test, refuses_a_huge_attribute_text_without_reading_it) {
    test::write_script(dpspy, "truncate -s 3G \"$5\"");
    EXPECT_EQ(read(), text + " has more than 67108864 bytes");
}

}  // namespace
