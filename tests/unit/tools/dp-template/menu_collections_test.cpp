#include "tools/dp-template/menu_collections.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using dp_tools::menu_collections;
using dp_tools::menu_elements;
using names = std::vector<std::string>;

/// The collection names of attributes with these menu paths.
names names_of(const names& menus) {
    std::vector<names> paths;
    for (const auto& menu : menus) {
        paths.push_back(menu_elements(menu));
    }
    const menu_collections divided(paths);
    names result;
    for (const auto& path : paths) {
        result.push_back(divided.of(path).name);
    }
    return result;
}

TEST(menu_elements, splits_at_slashes_and_drops_empty_elements) {
    EXPECT_EQ(menu_elements("./Main/Boot Options"), (names{"Main", "Boot Options"}));
    EXPECT_EQ(menu_elements("/Main// Boot /."), (names{"Main", "Boot"}));
    EXPECT_EQ(menu_elements("Main"), names{"Main"});
    EXPECT_EQ(menu_elements("./"), names{});
    EXPECT_EQ(menu_elements(""), names{});
}

TEST(menu_collections, are_named_after_the_first_element_that_differs) {
    EXPECT_EQ(
        names_of({"./Main/Setup/Advanced", "./Main/Platform Configuration/CPU", "./Main/Setup"}),
        (names{"Setup", "PlatformConfiguration", "Setup"}));
    EXPECT_EQ(names_of({"./Boot", "./Memory"}), (names{"Boot", "Memory"}));
}

TEST(menu_collections, a_path_that_ends_with_the_shared_elements_uses_its_last_one) {
    EXPECT_EQ(names_of({"./Main/Setup", "./Main/Setup"}), (names{"Setup", "Setup"}));
    EXPECT_EQ(names_of({"./Main", "./Main/Boot"}), (names{"Main", "Boot"}));
}

TEST(menu_collections, attributes_without_a_menu_belong_to_bios) {
    EXPECT_EQ(names_of({"", "./", ""}), (names{"BIOS", "BIOS", "BIOS"}));
    EXPECT_EQ(names_of({"./A/X", "", "./A/Y"}), (names{"X", "BIOS", "Y"}));
}

TEST(menu_collections, two_menus_never_share_a_collection) {
    EXPECT_EQ(names_of({"./Boot Options", "./BootOptions", "./Boot.Options"}),
              (names{"BootOptions", "BootOptions2", "BootOptions3"}));
    EXPECT_EQ(names_of({"./Main", "./Main/Main"}), (names{"Main", "Main2"}));
    EXPECT_EQ(names_of({"./Boot2", "./Boot", "./Bo ot"}), (names{"Boot2", "Boot", "Boot3"}));
    EXPECT_EQ(names_of({"./BIOS", ""}), (names{"BIOS2", "BIOS"}));
    const menu_collections divided({{"Boot Options"}, {"BootOptions"}});
    EXPECT_FALSE(divided.all()[0].renamed);
    EXPECT_TRUE(divided.all()[1].renamed);
    EXPECT_EQ(divided.all()[1].title, "BootOptions");
}

TEST(menu_collections, a_menu_without_a_usable_character_gets_a_name) {
    EXPECT_EQ(names_of({"./***", "./Boot", "./!!!"}), (names{"Menu", "Boot", "Menu2"}));
}

TEST(menu_collections, thousands_of_menus_with_the_same_name_take_linear_time) {
    // The titles differ only in their spaces.
    std::vector<names> paths;
    for (std::size_t i = 0; i < 20'000; ++i) {
        paths.push_back({"M" + std::string(i % 97, ' ') + "e" + std::string(i / 97, ' ') + "nu"});
    }
    const menu_collections divided(paths);
    EXPECT_EQ(divided.all().size(), paths.size());
    EXPECT_EQ(divided.all().back().name, "Menu20000");
}

}  // namespace
