#include "host/model/value_store.hpp"

#include <gtest/gtest.h>

#include <sstream>

#include "host/model/values_file.hpp"
#include "settings/configuration.hpp"
#include "tests/support/sample_template.hpp"

namespace {

using dp_host::template_model;
using dp_host::value_store;
using load_result = dp_host::value_store::load_result;

class value_store_test : public testing::Test {
  protected:
    value_store_test() : model(*template_model::make(test::sample_template(), nullptr)) {}

    value_store::key at(const char* cfg, const char* id, std::uint32_t instance = dp::no_instance) {
        return {model->find(cfg, id), instance};
    }

    static dp::qualified_setting_name name(const std::string& text) {
        dp::qualified_setting_name result;
        result.parse(text);
        return result;
    }

    std::string value(value_store::key where) {
        const std::string* found = store.find(where);
        return found == nullptr ? "(none)" : *found;
    }

    std::string text() {
        std::ostringstream out;
        dp_host::write_set_lines(store, out);
        return out.str();
    }

    std::unique_ptr<template_model> model;
    value_store store{*model};
};

bool every_setting(const dp::setting& /*s*/) {
    return true;
}

bool no_setting(const dp::setting& /*s*/) {
    return false;
}

TEST_F(value_store_test, add_defaults_fills_every_attribute_but_fields_of_records) {
    EXPECT_EQ(store.add_defaults(every_setting), 6U);
    EXPECT_EQ(value(at("Boot", "Mode")), "UEFI");
    EXPECT_EQ(value(at("Boot", "Order")), "HDD,PXE");
    EXPECT_EQ(value(at("Ports", "Speed", 1)), "10");
    EXPECT_EQ(value(at("Ports", "Speed", 4)), "10");
    EXPECT_EQ(value(at("Ports", "Speed", 5)), "(none)");
    EXPECT_EQ(value(at("Ports", "User", 1)), "(none)");
    EXPECT_EQ(store.add_defaults(every_setting), 0U);
}

TEST_F(value_store_test, add_defaults_does_not_restore_removed_instances) {
    EXPECT_EQ(store.add_defaults(no_setting), 5U);
    EXPECT_EQ(value(at("Ports", "Speed", 1)), "(none)");
}

TEST_F(value_store_test, load_checks_the_name_and_the_value) {
    EXPECT_EQ(store.load(name("Boot.Mode"), "Legacy", false), load_result::loaded);
    EXPECT_EQ(store.load(name("Boot.Delay"), "010", false), load_result::loaded);
    EXPECT_EQ(store.load(name("Ports.Speed.2"), "7", false), load_result::loaded);
    EXPECT_EQ(value(at("Boot", "Delay")), "10");
    EXPECT_EQ(store.load(name("Boot.Mode"), "CSM", false), load_result::invalid);
    EXPECT_EQ(value(at("Boot", "Mode")), "Legacy");
    EXPECT_EQ(store.load(name("Boot.Mode"), "CSM", true), load_result::invalid);
    EXPECT_EQ(value(at("Boot", "Mode")), "CSM");
    for (const char* other : {"Boot.Gone", "Other.Mode", "Boot.Mode.1", "Ports.Speed",
                              "Ports.Speed.5", "Ports.Speed.02", "Mode", ""}) {
        EXPECT_EQ(store.load(name(other), "1", true), load_result::unknown) << other;
    }
    EXPECT_TRUE(store.changed().empty());
}

TEST_F(value_store_test, load_accepts_values_of_read_only_attributes) {
    EXPECT_EQ(store.load(name("Boot.Vendor"), "other", false), load_result::loaded);
}

TEST_F(value_store_test, undo_changes_restores_the_values_before_the_first_change) {
    store.add_defaults(every_setting);
    const std::string before = text();
    store.put(at("Boot", "Mode"), "Legacy");
    store.put(at("Boot", "Mode"), "UEFI");
    store.put(at("Boot", "Mode"), "Legacy");
    store.remove(at("Ports", "Speed", 2));
    store.put(at("Ports", "Speed", 2), "99");
    store.put(at("Ports", "User", 3), "new");
    store.remove(at("Ports", "User", 3));
    EXPECT_EQ(store.changed().size(), 3U);
    store.undo_changes();
    EXPECT_EQ(text(), before);
    EXPECT_TRUE(store.changed().empty());
}

TEST_F(value_store_test, kept_changes_cannot_be_undone) {
    store.add_defaults(every_setting);
    store.put(at("Boot", "Mode"), "Legacy");
    EXPECT_TRUE(store.is_changed(at("Boot", "Mode")));
    EXPECT_FALSE(store.is_changed(at("Boot", "Delay")));
    store.keep_changes();
    EXPECT_FALSE(store.is_changed(at("Boot", "Mode")));
    store.undo_changes();
    EXPECT_EQ(value(at("Boot", "Mode")), "Legacy");
}

TEST_F(value_store_test, putting_an_equal_value_and_removing_no_value_are_not_changes) {
    store.add_defaults(every_setting);
    store.put(at("Boot", "Mode"), "UEFI");
    store.remove(at("Ports", "User", 1));
    EXPECT_TRUE(store.changed().empty());
}

TEST_F(value_store_test, values_are_in_the_order_of_the_template) {
    store.put(at("Ports", "Speed", 3), "30");
    store.put(at("Ports", "Speed", 1), "10");
    store.put(at("Boot", "Label"), "a\"b\\c");
    store.put(at("Boot", "Mode"), "UEFI");
    EXPECT_EQ(text(),
              "0 0 uefi set Boot.Mode \"UEFI\" \"\" \n"
              "0 0 uefi set Boot.Label \"a\\\"b\\\\c\" \"\" \n"
              "0 0 uefi set Ports.Speed.1 \"10\" \"\" \n"
              "0 0 uefi set Ports.Speed.3 \"30\" \"\" \n");
}

TEST(value_store, add_defaults_skips_attributes_of_very_many_instances) {
    const auto made = template_model::make(
        {test::with_instances(test::number("A", "Few", "1", 0, 9, 1), 1, 100'000),
         test::with_instances(test::number("A", "Many", "1", 0, 9, 1), 0, 0xFFFFFFFD)},
        nullptr);
    ASSERT_TRUE(made) << made.reason();
    const auto& model = *made;
    value_store store(*model);
    EXPECT_EQ(store.add_defaults(every_setting), 1U);
    EXPECT_NE(store.find({model->find("A", "Few"), 100'000}), nullptr);
    EXPECT_EQ(store.find({model->find("A", "Many"), 1}), nullptr);
}

}  // namespace
