#include "redfish/model/setting_names.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/sample_attribute.hpp"

namespace {

using dp_redfish::server_setting;
using dp_redfish::settings_catalog;
using testing::ElementsAre;

server_setting setting_of(const char* collection, const char* id, std::string instance = {}) {
    dp_attribute attribute = test::sample_attribute(id, DP_TYPE_STRING);
    attribute.cfg = collection;
    server_setting setting;
    setting.attribute = std::make_shared<const dp_service::attribute_copy>(attribute);
    setting.instance = std::move(instance);
    return setting;
}

std::vector<std::string> names_of(settings_catalog catalog) {
    name_settings(catalog);
    std::vector<std::string> names;
    for (const auto& setting : catalog.settings) {
        names.push_back(setting.name);
        EXPECT_EQ(catalog.settings[catalog.by_name.at(setting.name)].name, setting.name);
    }
    return names;
}

TEST(name_settings, uses_the_attribute_alone_if_that_is_unique) {
    settings_catalog catalog;
    catalog.settings = {setting_of("Boot", "Mode"), setting_of("Ports", "Speed", "1"),
                        setting_of("Ports", "Speed", "2"), setting_of("Boot", "Delay"),
                        setting_of("Ports", "Delay")};
    EXPECT_THAT(names_of(catalog),
                ElementsAre("Mode", "Speed_1", "Speed_2", "Boot_Delay", "Ports_Delay"));
}

TEST(name_settings, replaces_what_redfish_does_not_permit) {
    settings_catalog catalog;
    catalog.settings = {setting_of("A", "a-b.c"), setting_of("A", "a b c"), setting_of("A", "1st"),
                        setting_of("A", "x")};
    EXPECT_THAT(names_of(catalog), ElementsAre("a_b_c", "a_b_c_2", "A_1st", "x_"));
}

TEST(name_settings, keeps_the_names_of_a_registry) {
    settings_catalog catalog;
    catalog.settings = {setting_of("A", "PCIe-Speed")};
    catalog.settings[0].index = 0;
    EXPECT_THAT(names_of(catalog), ElementsAre("PCIe-Speed"));
}

}  // namespace
