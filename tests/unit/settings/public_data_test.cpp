// The public data of settings/ as a host uses it: data members by name, type and order, aggregates,
// and derived classes.

#include <gtest/gtest.h>

#include <cstdint>
#include <list>
#include <map>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "settings/configuration.hpp"
#include "settings/configuration_reference_list.hpp"
#include "settings/plugin.hpp"
#include "settings/plugin_list.hpp"
#include "settings/setting.hpp"
#include "settings/setting_element.hpp"
#include "settings/setting_instance.hpp"
#include "settings/setting_record.hpp"
#include "tests/support/data_members.hpp"
#include "tests/support/settings_model.hpp"

namespace {

// These classes set their data in the constructor's body, as a host may.

class host_configuration : public dp::configuration {
  public:
    host_configuration() { name = "Boot"; }
};

class host_plugin : public dp::plugin {
  public:
    host_plugin() {
        name = "store";
        type = settings_owner;
    }
    void on_start(dp::registrar&) override {}
    void on_stop(dp::registrar&) override {}
};

class collector final : public dp::configuration::settings_callback {
  public:
    void operator()(dp::setting* s, int arg) override { seen.emplace_back(s, arg); }
    std::vector<std::pair<dp::setting*, int>> seen;
};

class host_element : public dp::setting_element {
  public:
    bool map_value(std::string* value) override { return !value->empty(); }
    std::string default_value() override { return "default"; }
    std::int32_t validate(const std::string& value) override { return value == "bad" ? 50 : 0; }
};

}  // namespace

TEST(plugin, lets_a_derived_class_set_its_data) {
    host_plugin p;
    static_assert(std::is_polymorphic_v<dp::plugin>);
    static_assert(!std::has_virtual_destructor_v<dp::plugin>);
    EXPECT_TRUE(test::has_type<std::string>(p.name));
    EXPECT_TRUE(test::has_type<dp::plugin::types>(p.type));
    EXPECT_TRUE(test::in_order(p.name, p.type));
    EXPECT_EQ(static_cast<std::uint32_t>(dp::plugin::template_owner), 1U);
    EXPECT_EQ(static_cast<std::uint32_t>(dp::plugin::settings_owner), 2U);
    EXPECT_EQ(static_cast<std::uint32_t>(dp::plugin::client), 3U);
    dp::plugin_list plugins;
    plugins.push_back(&p);
    EXPECT_EQ(plugins.find_plugin("store", dp::plugin::types{}), &p);
    static_assert(std::is_base_of_v<std::vector<dp::plugin*>, dp::plugin_list>);
}

TEST(configuration, lets_a_derived_class_set_its_data) {
    host_configuration c;
    static_assert(std::is_polymorphic_v<dp::configuration>);
    static_assert(!std::has_virtual_destructor_v<dp::configuration>);
    EXPECT_TRUE(test::has_type<std::string>(c.name));
    EXPECT_TRUE(test::has_type<std::uint32_t>(c.version));
    static_assert(sizeof c.changed == 4);
    static_assert(std::is_same_v<decltype(c.settings)::key_type, dp::setting*>);
    EXPECT_TRUE((test::has_type<std::map<std::string, dp::setting_record>>(c.records)));
    EXPECT_TRUE(test::in_order(c.name, c.version, c.changed, c.settings, c.records));
    c.records["row"].settings.push_back(nullptr);

    dp::setting second;
    second.name = "b";
    dp::setting first;
    first.name = "a";
    c.settings.insert(&second);
    c.settings.insert(&first);
    EXPECT_EQ(c.find_setting("b"), &second);
    collector seen;
    test::registrar reg;
    c.enumerate_settings(reg, &seen, 7);
    EXPECT_EQ(seen.seen, (std::vector<std::pair<dp::setting*, int>>{{&first, 7}, {&second, 7}}));
}

TEST(configuration_reference_list_test, is_public_and_in_order) {
    dp::configuration_reference_list references;
    host_configuration c;
    EXPECT_FALSE(references.stale);
    references.references.emplace_back(&c, 0);
    EXPECT_FALSE(references.is_stale());
    c.version = 3;
    EXPECT_TRUE(references.is_stale());
    test::registrar reg;
    references.update_versions(reg);
    EXPECT_EQ(references.references.front(), (std::pair<dp::configuration*, std::uint32_t>{&c, 3}));
    references.add_reference(reg, &c);
    EXPECT_TRUE(references.stale);
    EXPECT_EQ(references.references.back().second, 0U);
    EXPECT_EQ(references.references.size(), 2U) << "duplicates are allowed";
    EXPECT_TRUE(test::in_order(references.stale, references.references));
}

TEST(setting_test, can_be_set_after_construction) {
    dp::setting s;
    EXPECT_EQ(s.configuration, nullptr);
    EXPECT_EQ(s.owner, nullptr);
    EXPECT_EQ(s.element, nullptr);
    EXPECT_TRUE(test::has_type<dp::configuration*>(s.configuration));
    EXPECT_TRUE(test::has_type<std::string>(s.name));
    EXPECT_TRUE(test::has_type<dp::plugin*>(s.owner));
    EXPECT_TRUE(test::has_type<class dp::setting::cache>(s.cache));
    EXPECT_TRUE(test::has_type<dp::setting_element*>(s.element));
    EXPECT_TRUE(test::in_order(s.configuration, s.name, s.owner, s.cache, s.element));
    host_configuration c;
    host_plugin p;
    host_element e;
    s.configuration = &c;
    s.name = "Mode";
    s.owner = &p;
    s.element = &e;
    s.set_instance_value("UEFI", 0xFFFFFFFE);
    EXPECT_EQ(c.version, 1U);
    EXPECT_EQ(s.cache.front().value, "UEFI");
}

TEST(setting_cache_entry, is_an_aggregate_of_three_members) {
    const dp::setting::cache::entry e{true, "v", 1};
    static_assert(std::is_aggregate_v<dp::setting::cache::entry>);
    EXPECT_TRUE(test::has_type<bool>(e.valid));
    EXPECT_TRUE(e.valid);
    EXPECT_EQ(e.value, "v");
    EXPECT_EQ(e.instance, 1U);
    EXPECT_TRUE(test::in_order(e.valid, e.value, e.instance));
    struct three_members {
        bool valid;
        std::string value;
        std::uint32_t instance;
    };
    static_assert(sizeof(dp::setting::cache::entry) == sizeof(three_members));
}

TEST(setting_cache, can_be_used_without_a_setting) {
    class dp::setting::cache values;
    EXPECT_TRUE(values.empty());
    *values.find_entry(4, true) = {true, "four", 4};
    values.find_entry(2, true)->value = "two";
    std::vector<std::uint32_t> order;
    for (const dp::setting::cache::entry& e : values) {
        order.push_back(e.instance);
    }
    EXPECT_EQ(order, (std::vector<std::uint32_t>{4, 2}));
    values.remove_instance(4);
    EXPECT_EQ(values.size(), 1U);
    EXPECT_EQ(values[0].value, "two");
}

TEST(setting_record_test, is_an_aggregate_of_its_members) {
    dp::setting s;
    s.cache.find_entry(1, true)->valid = true;
    dp::setting_record row{{&s, nullptr}};
    EXPECT_TRUE(test::has_type<std::vector<dp::setting*>>(row.settings));
    row.invalidate(1);
    EXPECT_FALSE(s.cache.front().valid);
}

TEST(setting_instance, is_an_aggregate_of_a_setting_and_an_instance_text) {
    host_configuration c;
    dp::setting s;
    s.configuration = &c;
    s.name = "Mode";
    dp::setting_instance i{&s, "3"};
    EXPECT_TRUE(test::has_type<dp::setting*>(i.setting));
    EXPECT_TRUE(test::has_type<std::string>(i.instance));
    EXPECT_TRUE(test::in_order(i.setting, i.instance));
    EXPECT_EQ(i.get_name(), "Boot.Mode.3");
    EXPECT_EQ(dp::setting_instance{}.get_name(), "ERR.INVALID_SETTING");
}

TEST(setting_element, lets_a_derived_class_set_its_data) {
    host_element e;
    EXPECT_TRUE(test::has_type<std::uint32_t>(e.max_instance));
    EXPECT_TRUE(test::has_type<std::uint32_t>(e.min_instance));
    EXPECT_TRUE(test::has_type<std::string>(e.record_name));
    EXPECT_TRUE(test::has_type<std::uint32_t>(e.flags));
    e.flags = 1U << 21U;
    dp::setting s;
    s.element = &e;
    EXPECT_TRUE(s.is_record_key());
    e.flags = 1U << 22U;
    EXPECT_TRUE(s.is_record_refresh());
    dp::non_xml_setting_element plain;
    EXPECT_EQ(plain.validate("anything"), 0);
}
