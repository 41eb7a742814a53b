#include "batch/qualified_setting_name.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

struct name_parts {
    std::string configuration;
    std::string setting;
    std::string instance;
    bool operator==(const name_parts&) const = default;
};

void PrintTo(const name_parts& p, std::ostream* os) {
    *os << '(' << p.configuration << '|' << p.setting << '|' << p.instance << ')';
}

name_parts parts_of(const std::string& text) {
    dp::qualified_setting_name name;
    name.configuration = name.setting = name.instance = "old";
    name.parse(text);
    return {name.configuration, name.setting, name.instance};
}

}  // namespace

TEST(qualified_setting_name, splits_at_the_first_and_the_last_dot) {
    EXPECT_EQ(parts_of("BIOS.BootMode"), (name_parts{"BIOS", "BootMode", ""}));
    EXPECT_EQ(parts_of("BIOS.BootMode.3"), (name_parts{"BIOS", "BootMode", "3"}));
    EXPECT_EQ(parts_of("BIOS.Boot.Mode.3"), (name_parts{"BIOS", "Boot.Mode", "3"}));
    EXPECT_EQ(parts_of("a.b.c.d.e"), (name_parts{"a", "b.c.d", "e"}));
}

TEST(qualified_setting_name, has_the_configuration_err_without_a_dot) {
    EXPECT_EQ(parts_of("BootMode"), (name_parts{"err", "BootMode", ""}));
    EXPECT_EQ(parts_of(""), (name_parts{"err", "invalid_setting", ""}));
    EXPECT_EQ(parts_of(" "), (name_parts{"err", " ", ""}));
}

TEST(qualified_setting_name, keeps_empty_parts) {
    EXPECT_EQ(parts_of("A."), (name_parts{"A", "", ""}));
    EXPECT_EQ(parts_of(".B"), (name_parts{"", "B", ""}));
    EXPECT_EQ(parts_of("A..3"), (name_parts{"A", "", "3"}));
    EXPECT_EQ(parts_of("A.B."), (name_parts{"A", "B", ""}));
}

TEST(qualified_setting_name, splits_names_of_dots_only) {
    EXPECT_EQ(parts_of("."), (name_parts{"", "", ""}));
    EXPECT_EQ(parts_of(".."), (name_parts{"", "", ""}));
    EXPECT_EQ(parts_of("..."), (name_parts{"", ".", ""}));
    EXPECT_EQ(parts_of(std::string(1'000'000, '.')),
              (name_parts{"", std::string(999'998, '.'), ""}));
}

TEST(qualified_setting_name, accepts_any_bytes_in_its_parts) {
    EXPECT_EQ(parts_of("A.B.x y"), (name_parts{"A", "B", "x y"}));
    const std::string bytes("\0.\xFF.\n", 5);
    EXPECT_EQ(parts_of(bytes), (name_parts{std::string("\0", 1), "\xFF", "\n"}));
    const std::string long_word(1'000'000, 'x');
    EXPECT_EQ(parts_of(long_word), (name_parts{"err", long_word, ""}));
}

TEST(qualified_setting_name, joins_its_parts) {
    dp::qualified_setting_name name;
    for (const std::string text :
         {"BIOS.Boot.Mode.3", "BIOS.BootMode", ".", "A.", ".B", "A..3", "..."}) {
        name.parse(text);
        EXPECT_EQ(name.get_name(), text == "..." ? ".." : text) << text;
    }
}

TEST(qualified_setting_name, may_be_parsed_from_its_own_parts) {
    using part = std::string dp::qualified_setting_name::*;
    const std::string big(100'000, 's');
    for (const part own :
         {&dp::qualified_setting_name::configuration, &dp::qualified_setting_name::setting,
          &dp::qualified_setting_name::instance}) {
        for (const std::string& text : std::vector<std::string>{
                 "BIOS.Boot.Mode.3", "A.B", "BootMode", "", "A." + big + ".3"}) {
            dp::qualified_setting_name name{"old", "old", "old"};
            name.*own = text;
            name.parse(name.*own);
            EXPECT_EQ((name_parts{name.configuration, name.setting, name.instance}),
                      parts_of(text));
        }
    }
}

TEST(qualified_setting_name, shows_missing_parts_in_the_joined_name) {
    dp::qualified_setting_name name;
    EXPECT_EQ(name.get_name(), ".");
    name.parse("BootMode");
    EXPECT_EQ(name.get_name(), "err.BootMode");
    name.parse("");
    EXPECT_EQ(name.get_name(), "err.invalid_setting");
}
