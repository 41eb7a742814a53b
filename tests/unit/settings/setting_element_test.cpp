#include "settings/setting_element.hpp"

#include <gtest/gtest.h>

#include <string>

TEST(setting_element, maps_nothing_has_no_default_and_accepts_every_value) {
    dp::setting_element element;
    std::string value = "x";
    EXPECT_TRUE(element.map_value(&value));
    EXPECT_EQ(value, "x");
    EXPECT_EQ(element.default_value(), "");
    EXPECT_EQ(element.validate(""), 0);
    EXPECT_EQ(element.validate("anything"), 0);
}

TEST(setting_element, starts_single_valued_without_setting_record_and_flags) {
    const dp::setting_element element;
    EXPECT_EQ(element.max_instance, 0xFFFFFFFEU);
    EXPECT_EQ(element.min_instance, 0U);
    EXPECT_EQ(element.record_name, "");
    EXPECT_EQ(element.flags, 0U);
}

TEST(setting_element, has_its_flags_in_bits_21_22_and_31) {
    EXPECT_EQ(dp::setting_element::record_key_flag, 0x00200000U);
    EXPECT_EQ(dp::setting_element::record_refresh_flag, 0x00400000U);
    EXPECT_EQ(dp::setting_element::deletable_flag, 0x80000000U);
}

TEST(non_xml_setting_element, accepts_every_value) {
    dp::non_xml_setting_element element;
    EXPECT_EQ(element.validate(""), 0);
    EXPECT_EQ(element.validate(std::string(100'000, '\xFF')), 0);
}
