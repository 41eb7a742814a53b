#include "batch/batch_file_converter.hpp"

#include <gtest/gtest.h>

#include <sstream>
#include <type_traits>

#include "tests/support/settings_model.hpp"

TEST(batch_file_converter, builds_a_command_from_each_entry) {
    test::registrar reg;
    test::plugin owner("owner");
    test::configuration config("A");
    test::element element;
    dp::setting s(&config, "B", &owner, &element);
    config.add_setting(&s);
    reg.configurations = {&config};

    dp::batch_file_converter converter;
    std::istringstream in(
        "0 100 t1 set A.B.3 \"x\" \"y\"\n"
        "0 101 t1 set A.C \"x\" \"\"\n"
        "# comment\n"
        "0 102 t1 nonsense A.B \"\" \"\"\n"
        "5 103 t1 command import A.B \"\" \"\"\n");
    EXPECT_EQ(converter.read_file(in, &reg), 4);
    ASSERT_EQ(converter.commands.size(), 4U);
    const auto& first = converter.commands[0];
    EXPECT_EQ(first.status, 0);
    EXPECT_FALSE(first.complete);
    EXPECT_EQ(first.correlator, 100U);
    EXPECT_EQ(first.operation, dp::op_set);
    EXPECT_EQ(first.target.setting, &s);
    EXPECT_EQ(first.target.instance, "3");
    EXPECT_EQ(first.value_in, "x");
    EXPECT_EQ(first.value_out, "y");
    EXPECT_EQ(converter.commands[1].status, 16);
    EXPECT_EQ(converter.commands[2].status, 224);
    EXPECT_EQ(converter.commands[3].status, 5);
}

TEST(batch_file_converter, resolves_nothing_without_a_registrar) {
    dp::batch_file_converter converter;
    std::istringstream in("0 100 t1 set A.B.3 \"x\" \"y\"\n");
    EXPECT_EQ(converter.read_file(in, nullptr), 1);
    EXPECT_EQ(converter.commands.at(0).status, 16);
}

TEST(batch_file_converter, cannot_be_copied) {
    EXPECT_FALSE(std::is_copy_constructible_v<dp::batch_file_converter>);
    EXPECT_FALSE(std::is_copy_assignable_v<dp::batch_file_converter>);
}
