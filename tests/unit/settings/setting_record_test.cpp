#include "settings/setting_record.hpp"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/settings_model.hpp"

namespace {

// A setting record "row" of three settings, of which the last allows fewer instances.
class setting_record : public testing::Test {
  protected:
    setting_record() {
        for (auto* e : {&key_element, &name_element, &short_element}) {
            e->record_name = "row";
            e->min_instance = 1;
            e->max_instance = 10;
        }
        key_element.default_text = "K";
        name_element.default_text = "N";
        short_element.default_text = "S";
        short_element.max_instance = 3;
        config.records["row"].settings = {&key, nullptr, &name, &short_one};
    }

    static std::string value(dp::setting& s, std::uint32_t instance) {
        std::string out;
        return s.get_instance_value(&out, instance) ? out : "unknown";
    }

    test::configuration config{"c"};
    test::element key_element;
    test::element name_element;
    test::element short_element;
    dp::setting key{&config, "key", nullptr, &key_element};
    dp::setting name{&config, "name", nullptr, &name_element};
    dp::setting short_one{&config, "short", nullptr, &short_element};
};

}  // namespace

TEST_F(setting_record, create_records_gives_every_member_its_default) {
    name.create_records(2);
    EXPECT_EQ(value(key, 2), "K");
    EXPECT_EQ(value(name, 2), "N");
    EXPECT_EQ(value(short_one, 2), "S");
    EXPECT_EQ(value(key, 1), "unknown");
    EXPECT_EQ(config.version, 1U);
}

TEST_F(setting_record, create_records_skips_members_that_do_not_allow_the_instance) {
    key.create_records(5);
    EXPECT_EQ(value(key, 5), "K");
    EXPECT_EQ(value(name, 5), "N");
    EXPECT_EQ(short_one.cache.size(), 0U);
    key.create_records(3);
    EXPECT_EQ(value(short_one, 3), "S") << "the highest instance is allowed";
}

TEST_F(setting_record, create_records_never_overwrites_a_known_value) {
    name.set_instance_value("mine", 2);
    short_one.set_instance_value("", 2);
    key.create_records(2);
    EXPECT_EQ(value(key, 2), "K");
    EXPECT_EQ(value(name, 2), "mine");
    EXPECT_EQ(value(short_one, 2), "");
}

TEST_F(setting_record, create_records_replaces_an_unknown_value) {
    name.set_instance_value("mine", 2);
    name.invalidate_instance(2);
    key.create_records(2);
    EXPECT_EQ(value(name, 2), "N");
}

TEST_F(setting_record, create_records_counts_no_change_when_nothing_is_missing) {
    key.create_records(2);
    config.changed = 0;
    key.create_records(2);
    EXPECT_EQ(config.changed, 0U);
}

TEST_F(setting_record, create_and_remove_records_do_nothing_for_a_missing_setting_record) {
    key_element.record_name = "other";
    key.create_records(2);
    key.remove_records(2);
    EXPECT_EQ(key.cache.size(), 0U);
    EXPECT_EQ(config.version, 0U);
    EXPECT_EQ(config.records.size(), 1U) << "a search creates no setting record";
}

TEST_F(setting_record, remove_records_removes_the_instance_from_every_member) {
    key.create_records(1);
    key.create_records(2);
    config.changed = 0;
    name.remove_records(1);
    for (auto* s : {&key, &name, &short_one}) {
        EXPECT_EQ(s->cache.find_entry(1, false), nullptr);
        EXPECT_NE(s->cache.find_entry(2, false), nullptr);
    }
    EXPECT_EQ(config.version, 2U);
    config.changed = 0;
    name.remove_records(1);
    EXPECT_EQ(config.version, 3U) << "removing nothing is a change too";
}

TEST_F(setting_record, invalidate_counts_no_change) {
    key.create_records(1);
    key.create_records(2);
    config.changed = 0;
    const auto version = config.version;
    config.records["row"].invalidate(1);
    for (auto* s : {&key, &name, &short_one}) {
        EXPECT_EQ(value(*s, 1), "unknown");
        EXPECT_NE(value(*s, 2), "unknown");
        EXPECT_NE(s->cache.find_entry(1, false)->value, "") << "the text is kept";
    }
    EXPECT_EQ(config.version, version);
    EXPECT_EQ(config.changed, 0U);
}

TEST_F(setting_record, invalidate_creates_no_missing_instance) {
    config.records["row"].invalidate(7);
    EXPECT_EQ(key.cache.size(), 0U);
}
