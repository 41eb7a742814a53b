#include "tools/dp-template/encodable_text.hpp"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(name_problem, accepts_names_for_batch_lines_and_templates) {
    for (const char* name : {"a", "Boot_Mode-1", "A:B", "x\"y", "back\\slash",
                             "gr\xC3\xB6\xC3\x9F"
                             "e"}) {
        EXPECT_EQ(dp_tools::name_problem(name), "") << name;
    }
}

TEST(name_problem, names_the_character_that_cannot_be_encoded) {
    EXPECT_EQ(dp_tools::name_problem(""), "is empty");
    EXPECT_EQ(dp_tools::name_problem("a b"), "contains a space");
    EXPECT_NE(dp_tools::name_problem("a.b").find("dot"), std::string::npos);
    EXPECT_EQ(dp_tools::name_problem("a\tb"), "contains the control character 09");
    EXPECT_EQ(dp_tools::name_problem("a\nb"), "contains the control character 0A");
    EXPECT_EQ(dp_tools::name_problem(std::string_view("a\0b", 3)),
              "contains the control character 00");
    EXPECT_EQ(dp_tools::name_problem("a\x7F"), "contains the control character 7F");
    EXPECT_NE(dp_tools::name_problem("fa\xC3\xA7"
                                     "ade")
                  .find("byte A7"),
              std::string::npos);
    EXPECT_NE(dp_tools::name_problem("\xE2\x80\x95").find("byte 95"), std::string::npos);
}

TEST(value_problem, allows_everything_but_control_characters) {
    EXPECT_EQ(dp_tools::value_problem(""), "");
    EXPECT_EQ(dp_tools::value_problem("any \"text\" \\ with\ttab and \xC2\xA7"), "");
    EXPECT_NE(dp_tools::value_problem("two\nlines"), "");
    EXPECT_NE(dp_tools::value_problem("two\r"), "");
    EXPECT_NE(dp_tools::value_problem(std::string_view("\0", 1)), "");
}

TEST(item_problem, also_refuses_the_bytes_that_end_items_and_records) {
    EXPECT_EQ(dp_tools::item_problem("fine: \xC3\xA4"), "");
    EXPECT_NE(dp_tools::item_problem("\xC2\xA7").find("A7, which ends a record"),
              std::string::npos);
    EXPECT_NE(dp_tools::item_problem("\xC5\x95").find("95, which ends an item"), std::string::npos);
    EXPECT_NE(dp_tools::item_problem("line\nend"), "");
}

TEST(encodable_description, replaces_only_whole_characters) {
    EXPECT_EQ(dp_tools::encodable_description("plain \xC3\xB6 text"), "plain \xC3\xB6 text");
    EXPECT_EQ(dp_tools::encodable_description("\xC2\xA7 12, fa\xC3\xA7"
                                              "ade, x\xE2\x80\x95y"),
              "S 12, facade, x-y");
    EXPECT_EQ(dp_tools::encodable_description("\xE4\xA7\x95|\xF0\x9F\x95\xA7|"), "?|?|");
    EXPECT_EQ(dp_tools::encodable_description("two\r\nlines\tand a \x01"), "two  lines and a  ");
    EXPECT_EQ(dp_tools::encodable_description("stray \x95 and \xA7"), "stray ? and ?");
    EXPECT_EQ(dp_tools::encodable_description(""), "");
}

TEST(collection_name, keeps_letters_digits_and_non_ascii_characters) {
    EXPECT_EQ(dp_tools::collection_name("Platform Configuration"), "PlatformConfiguration");
    EXPECT_EQ(dp_tools::collection_name("PCI/PnP (v2.0) \"x\" & y_z-1"), "PCIPnPv20xy_z-1");
    EXPECT_EQ(dp_tools::collection_name("Men\xC3\xBC"), "Men\xC3\xBC");
    EXPECT_EQ(dp_tools::collection_name("Fa\xC3\xA7"
                                        "ade"),
              "Faade");
    EXPECT_EQ(dp_tools::collection_name("***"), "");
}

TEST(quoted_for_message, makes_a_text_safe_to_print) {
    EXPECT_EQ(dp_tools::quoted_for_message("abc"), "\"abc\"");
    EXPECT_EQ(dp_tools::quoted_for_message("a\x1B[2J\n"), "\"a\\x1B[2J\\x0A\"");
    const std::string cut = dp_tools::quoted_for_message(std::string(1000, 'x'));
    EXPECT_EQ(cut, "\"" + std::string(60, 'x') + "...\"");
}

}  // namespace
