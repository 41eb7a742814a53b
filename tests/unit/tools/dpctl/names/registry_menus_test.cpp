#include "tools/dpctl/names/registry_menus.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

#include "service_api/attribute_registry.hpp"

namespace dpctl {
namespace {

using testing::ElementsAre;

std::string attribute_json(const std::string& name, const std::string& path,
                           const std::string& more = {}) {
    return R"({"AttributeName":")" + name + R"(","Type":"String","MenuPath":")" + path + '"' +
           more + '}';
}

// A registry of attributes and menus, both JSON texts of list items.
dp_service::attribute_registry registry_of(const std::vector<std::string>& attributes,
                                           const std::string& menus) {
    std::string text = R"({"RegistryEntries":{"Attributes":[)";
    for (const auto& each : attributes) {
        text += (text.back() == '[' ? "" : ",") + each;
    }
    auto registry = dp_service::parse_attribute_registry(text + R"(],"Menus":[)" + menus + "]}}");
    EXPECT_TRUE(registry) << registry.reason();
    return *std::move(registry);
}

// The names of the attributes in the order of the menus.
std::vector<std::string> ordered(const dp_service::attribute_registry& registry) {
    const dp_service::registry_dependencies rules(registry);
    const registry_menus menus(registry, rules);
    std::vector<std::string> names(registry.attributes.size());
    for (std::uint32_t i = 0; i < names.size(); ++i) {
        names[menus.position(i)] = registry.attributes[i].name;
    }
    return names;
}

// The titles of the attributes' menus, in the registry's order.
std::vector<std::string> titles(const dp_service::attribute_registry& registry) {
    const dp_service::registry_dependencies rules(registry);
    const registry_menus menus(registry, rules);
    std::vector<std::string> found;
    for (std::uint32_t i = 0; i < registry.attributes.size(); ++i) {
        found.push_back(menus.title(i));
    }
    return found;
}

TEST(registry_menus, orders_menus_and_attributes_by_their_display_order) {
    const auto registry =
        registry_of({attribute_json("Last", "./Setup/Boot"),
                     attribute_json("Second", "./Setup/Boot", R"(,"DisplayOrder":2)"),
                     attribute_json("First", "./Setup/Boot", R"(,"DisplayOrder":1)"),
                     attribute_json("Cpu", "./Setup/Processor"), attribute_json("Top", "./Setup")},
                    R"({"MenuName":"Boot","MenuPath":"./Setup/Boot","DisplayOrder":2},
           {"MenuName":"Processor","MenuPath":"./Setup/Processor","DisplayOrder":1})");
    EXPECT_THAT(ordered(registry), ElementsAre("Top", "Cpu", "First", "Second", "Last"));
}

TEST(registry_menus, keeps_the_order_of_the_registry_without_a_display_order) {
    const auto registry = registry_of({attribute_json("C", "./B"), attribute_json("A", "./A"),
                                       attribute_json("B", "./B"), attribute_json("None", "")},
                                      "");
    EXPECT_THAT(ordered(registry), ElementsAre("None", "C", "B", "A"));
}

TEST(registry_menus, shows_a_menu_before_those_below_it_and_these_together) {
    const auto registry = registry_of({attribute_json("B1", "./A/B"), attribute_json("C1", "./C"),
                                       attribute_json("A1", "./A"), attribute_json("D1", "./A/D")},
                                      "");
    EXPECT_THAT(ordered(registry), ElementsAre("A1", "B1", "D1", "C1"));
}

TEST(registry_menus, has_titles_of_display_names) {
    const auto registry = registry_of(
        {attribute_json("A", "./Setup/Boot"), attribute_json("B", "./Setup"),
         attribute_json("C", ""), attribute_json("D", ".")},
        R"({"MenuName":"Boot","MenuPath":"./Setup/Boot","DisplayName":"Boot options"})");
    EXPECT_THAT(titles(registry), ElementsAre("Setup > Boot options", "Setup", "", ""));
}

TEST(registry_menus, accepts_slashes_in_the_names_of_menus) {
    const auto registry =
        registry_of({attribute_json("A", "./Setup/PCI/PnP")},
                    R"({"MenuName":"Setup","MenuPath":"./Setup","DisplayName":"Setup"},
           {"MenuName":"PCI/PnP","MenuPath":"./Setup/PCI/PnP","DisplayName":"PCI/PnP"})");
    EXPECT_THAT(titles(registry), ElementsAre("Setup > PCI/PnP"));
}

TEST(registry_menus, hides_what_is_below_a_hidden_menu) {
    const auto registry =
        registry_of({attribute_json("A", "./Setup/Boot"), attribute_json("B", "./Setup")},
                    R"({"MenuName":"Boot","MenuPath":"./Setup/Boot","Hidden":true})");
    const dp_service::registry_dependencies rules(registry);
    const registry_menus menus(registry, rules);
    EXPECT_TRUE(menus.is_hidden(0));
    EXPECT_FALSE(menus.is_hidden(1));
}

TEST(registry_menus, accepts_very_long_paths) {
    std::string path = ".";
    for (int i = 0; i < 100'000; ++i) {
        path += "/a";
    }
    const auto registry = registry_of({attribute_json("A", path), attribute_json("B", "./B")}, "");
    EXPECT_THAT(ordered(registry), ElementsAre("A", "B"));
}

}  // namespace
}  // namespace dpctl
