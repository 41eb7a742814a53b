#include "settings/plugin_list.hpp"

#include <gtest/gtest.h>

#include "tests/support/settings_model.hpp"

using dp::plugin;

TEST(plugin_list, finds_the_first_plugin_of_any_type_by_name) {
    test::plugin owner("x", plugin::settings_owner);
    test::plugin client("x", plugin::client);
    const dp::plugin_list list{&owner, &client};
    EXPECT_EQ(list.find_plugin("x", plugin::any_type), &owner);
}

TEST(plugin_list, skips_plugins_of_another_type) {
    test::plugin owner("x", plugin::settings_owner);
    test::plugin other("y", plugin::client);
    test::plugin first("x", plugin::client);
    test::plugin second("x", plugin::client);
    const dp::plugin_list list{&owner, &other, &first, &second};
    EXPECT_EQ(list.find_plugin("x", plugin::client), &first);
    EXPECT_EQ(list.find_plugin("x", plugin::template_owner), nullptr);
}

TEST(plugin_list, compares_names_exactly) {
    test::plugin p("Name", plugin::client);
    const dp::plugin_list list{&p};
    EXPECT_EQ(list.find_plugin("name", plugin::any_type), nullptr);
    EXPECT_EQ(list.find_plugin("Nam", plugin::any_type), nullptr);
    EXPECT_EQ(list.find_plugin("Name ", plugin::any_type), nullptr);
    EXPECT_EQ(list.find_plugin("Name", plugin::any_type), &p);
}

TEST(plugin_list, finds_nothing_when_empty) {
    EXPECT_EQ(dp::plugin_list().find_plugin("x", plugin::any_type), nullptr);
}

TEST(plugin_list, keeps_the_registration_order) {
    test::plugin b("b");
    test::plugin a("a");
    dp::plugin_list list;
    list.push_back(&b);
    list.push_back(&a);
    EXPECT_EQ(list.front(), &b);
    EXPECT_EQ(list.back(), &a);
}
