#include "host/model/template_text.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <sstream>

#include "common/file_utilities.hpp"
#include "tests/support/sample_template.hpp"
#include "tests/support/test_platform.hpp"

namespace {

class template_text_test : public testing::Test {
  protected:
    void SetUp() override {
        test::clean_root();
        test::write_file(bios, records({test::choice("A", "X", "1", "1,2")}));
        // Stands for the board's tool: the template is plain text here.
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
        infos.clear();
        return dp_host::read_template_text(bios, text, infos);
    }

    std::string bios = test::root() + "/var/dp/uefi_template.efi";
    std::string text = test::root() + "/tmp/dp/uefi_info.txt";
    std::string dpspy = test::root() + "/bin/dpspy";
    std::string calls = test::root() + "/calls";
    std::vector<template_info> infos;
};

TEST_F(template_text_test, the_tool_is_run_for_a_new_template) {
    ASSERT_EQ(read(), "");
    ASSERT_EQ(infos.size(), 1U);
    EXPECT_EQ(infos[0].id, "X");
    EXPECT_EQ(test::read_file(calls), "-sf -i " + bios + " -o " + text + "\n");
}

TEST_F(template_text_test, a_text_that_is_newer_is_read_as_it_is) {
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

TEST_F(template_text_test, without_a_template_an_old_text_does_not_help) {
    ASSERT_EQ(read(), "");
    ASSERT_EQ(unlink(bios.c_str()), 0);
    EXPECT_EQ(read(), "cannot open " + bios + ": No such file or directory");
}

TEST_F(template_text_test, a_failing_tool_is_a_problem) {
    test::write_script(dpspy, "exit 1");
    EXPECT_EQ(read(), dpspy + " failed with exit code 1");
    ASSERT_EQ(unlink(dpspy.c_str()), 0);
    EXPECT_EQ(read(), "cannot run " + dpspy + ": No such file or directory");
}

TEST_F(template_text_test, a_tool_that_writes_nothing_is_a_problem) {
    test::write_script(dpspy, "exit 0");
    EXPECT_EQ(read(), "cannot open " + text + ": No such file or directory");
}

TEST_F(template_text_test, a_text_without_attributes_is_a_problem) {
    test::write_file(bios, "");
    EXPECT_EQ(read(), text + " holds no attributes");
    test::write_file(bios, "\xA7\xA7\n");
    EXPECT_EQ(read(), text + " holds no attributes");
    test::write_file(bios, "this is no template");
    EXPECT_EQ(read(), text + " holds no attributes");
}

TEST_F(template_text_test, empty_records_are_passed_over) {
    test::write_file(bios, "\xA7" + records({test::choice("A", "X", "", "")}) + "\xA7");
    ASSERT_EQ(read(), "");
    EXPECT_EQ(infos.size(), 1U);
}

TEST_F(template_text_test, an_overlong_record_is_a_problem_and_not_the_end) {
    auto big = test::choice("A", "Big", "", "");
    big.dsc = std::string(20'000, 'x');
    test::write_file(bios, records({test::choice("A", "X", "", ""), big}));
    EXPECT_EQ(read(), text + ": the record behind attribute 1 is too long");
    EXPECT_TRUE(infos.empty());
}

TEST_F(template_text_test, links_are_refused) {
    ASSERT_EQ(symlink(calls.c_str(), text.c_str()), 0);
    EXPECT_EQ(read(), text + " is a link");
    ASSERT_EQ(unlink(text.c_str()), 0);
    ASSERT_EQ(rename(bios.c_str(), (bios + ".real").c_str()), 0);
    ASSERT_EQ(symlink((bios + ".real").c_str(), bios.c_str()), 0);
    EXPECT_EQ(read(), bios + " is a link");
}

}  // namespace
