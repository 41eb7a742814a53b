#include "settings/setting.hpp"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "settings/instance_number.hpp"
#include "tests/support/settings_model.hpp"

using dp::no_instance;

namespace {

class setting : public testing::Test {
  protected:
    // Clears `changed`, as the owner does. Returns whether it was set.
    bool clear_changed() {
        const bool was = config.changed != 0;
        config.changed = 0;
        return was;
    }
    std::string value(std::uint32_t instance) {
        std::string out = "untouched";
        return s.get_instance_value(&out, instance) ? out : out + "!";
    }

    test::configuration config{"BIOS"};
    test::element element;
    dp::setting s{&config, "Mode", nullptr, &element};
};

const std::string unknown = "untouched!";

}  // namespace

TEST_F(setting, knows_no_values_at_first) {
    EXPECT_EQ(value(no_instance), unknown);
    EXPECT_EQ(value(0), unknown);
    EXPECT_EQ(s.cache.size(), 0U) << "reading creates no entry";
}

TEST_F(setting, stores_values_by_instance) {
    s.set_instance_value("a", 1);
    s.set_instance_value("b", 2);
    s.set_instance_value("", no_instance);
    EXPECT_EQ(value(1), "a");
    EXPECT_EQ(value(2), "b");
    EXPECT_EQ(value(no_instance), "");
    EXPECT_EQ(value(3), unknown);
}

TEST_F(setting, counts_a_change_only_when_the_value_differs) {
    s.set_instance_value("a", 1);
    EXPECT_EQ(config.version, 1U);
    EXPECT_TRUE(clear_changed());
    s.set_instance_value("a", 1);
    EXPECT_FALSE(clear_changed());
    EXPECT_EQ(config.version, 1U);
    s.set_instance_value("b", 1);
    EXPECT_EQ(config.version, 2U);
}

TEST_F(setting, keeps_the_version_while_a_change_is_recorded) {
    s.set_instance_value("a", 1);
    s.set_instance_value("b", 1);
    s.set_instance_value("c", 2);
    EXPECT_EQ(config.version, 1U);
    EXPECT_NE(config.changed, 0U);
}

TEST_F(setting, counts_a_first_empty_value_as_a_change) {
    s.set_instance_value("", 1);
    EXPECT_TRUE(clear_changed());
    EXPECT_EQ(value(1), "");
}

TEST_F(setting, keeps_the_place_of_an_invalidated_value) {
    s.set_instance_value("a", 1);
    s.set_instance_value("b", 2);
    clear_changed();
    s.invalidate_instance(1);
    EXPECT_TRUE(clear_changed());
    EXPECT_EQ(value(1), unknown);
    ASSERT_NE(s.cache.find_entry(1, false), nullptr);
    EXPECT_EQ(s.cache.find_entry(1, false)->value, "a") << "the text is kept";
    s.set_instance_value("c", 1);
    std::ostringstream os;
    os << s.cache;
    EXPECT_EQ(os.str(), "\n[1] c\n[2] b");
}

TEST_F(setting, counts_setting_an_invalidated_value_again_as_a_change) {
    s.set_instance_value("a", 1);
    s.invalidate_instance(1);
    clear_changed();
    s.set_instance_value("a", 1);
    EXPECT_TRUE(clear_changed());
    EXPECT_EQ(value(1), "a");
}

TEST_F(setting, counts_no_change_when_an_unknown_value_is_invalidated) {
    s.invalidate_instance(1);
    EXPECT_FALSE(clear_changed());
    EXPECT_EQ(s.cache.size(), 0U);
    s.set_instance_value("a", 1);
    s.invalidate_instance(1);
    clear_changed();
    s.invalidate_instance(1);
    EXPECT_FALSE(clear_changed());
}

TEST_F(setting, counts_a_removal_as_a_change_even_of_nothing) {
    s.set_instance_value("a", 1);
    clear_changed();
    s.remove_instance(1);
    EXPECT_TRUE(clear_changed());
    EXPECT_EQ(value(1), unknown);
    EXPECT_EQ(s.cache.size(), 0U);
    s.remove_instance(1);
    EXPECT_TRUE(clear_changed());
    EXPECT_EQ(config.version, 3U);
}

TEST_F(setting, takes_a_value_from_its_own_cache) {
    const std::string text(100, 'x');
    s.set_instance_value(text, 0);
    for (std::uint32_t i = 1; i < 100; ++i) {
        s.set_instance_value(s.cache.find_entry(i - 1, false)->value, i);
    }
    EXPECT_EQ(value(99), text);
    s.set_instance_value(s.cache.find_entry(99, false)->value, 99);
    EXPECT_EQ(value(99), text);
}

TEST_F(setting, takes_values_of_any_bytes_and_length) {
    const std::string text = std::string(1'000'000, '\xFF') + std::string("\0\n\"", 3);
    s.set_instance_value(text, no_instance);
    EXPECT_EQ(value(no_instance), text);
}

TEST_F(setting, displays_its_cache_after_its_full_name) {
    std::ostringstream os;
    EXPECT_EQ(&s.display_cache(os), &os);
    EXPECT_EQ(os.str(), "BIOS.Mode\n");
    os.str("");
    s.set_instance_value("v", no_instance);
    s.display_cache(os);
    EXPECT_EQ(os.str(), "BIOS.Modev\n");
    os.str("");
    s.remove_instance(no_instance);
    s.set_instance_value("one", 1);
    s.set_instance_value("", 2);
    s.display_cache(os);
    EXPECT_EQ(os.str(), "BIOS.Mode\n[1] one\n[2] \"\"\n");
}

TEST_F(setting, prints_its_full_name) {
    std::ostringstream os;
    os << s;
    EXPECT_EQ(os.str(), "BIOS.Mode");
}

TEST_F(setting, reads_its_record_roles_from_its_element) {
    EXPECT_FALSE(s.is_record_key());
    EXPECT_FALSE(s.is_record_refresh());
    element.flags = 1U << 21;
    EXPECT_TRUE(s.is_record_key());
    EXPECT_FALSE(s.is_record_refresh());
    element.flags = 1U << 22;
    EXPECT_FALSE(s.is_record_key());
    EXPECT_TRUE(s.is_record_refresh());
    element.flags = ~(3U << 21);
    EXPECT_FALSE(s.is_record_key());
    EXPECT_FALSE(s.is_record_refresh());
}
