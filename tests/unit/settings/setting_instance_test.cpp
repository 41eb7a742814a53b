#include "settings/setting_instance.hpp"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "tests/support/settings_model.hpp"

namespace {

std::string printed(const dp::setting_instance& i) {
    std::ostringstream os;
    os << i;
    return os.str();
}

}  // namespace

TEST(setting_instance, prints_configuration_setting_and_instance) {
    test::configuration config("BIOS");
    dp::setting s(&config, "Boot.Mode", nullptr, nullptr);
    dp::setting_instance i;
    i.setting = &s;
    EXPECT_EQ(printed(i), "BIOS.Boot.Mode");
    EXPECT_EQ(i.get_name(), "BIOS.Boot.Mode");
    i.instance = "3";
    EXPECT_EQ(printed(i), "BIOS.Boot.Mode.3");
    i.instance = "not a number";
    EXPECT_EQ(i.get_name(), "BIOS.Boot.Mode.not a number");
}

TEST(setting_instance, prints_an_error_name_without_a_setting) {
    dp::setting_instance i;
    EXPECT_EQ(i.setting, nullptr);
    EXPECT_EQ(printed(i), "ERR.INVALID_SETTING");
    i.instance = "3";
    EXPECT_EQ(printed(i), "ERR.INVALID_SETTING");
    EXPECT_EQ(i.get_name(), "ERR.INVALID_SETTING");
}
